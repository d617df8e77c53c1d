// What the service tells its clients, and how tests take it.
#pragma once

#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

/// How long a service may take to tell what it must.
inline constexpr std::chrono::milliseconds kLongest(5000);

/// Short name of a notification; its number if it is not listed.
std::string NameOf(uint32_t notification);

/// Notifications as they are shown, one after another; "none" if there are none.
std::string TextOf(Trial& trial, const std::vector<Notified>& all);

/// An application must be able to use what arrives: it is listed, and long enough.
void ExpectUsable(Trial& trial, const Notified& one);

/// What a device does that differs from the virtual one in what the interface leaves open is no failure.
void Require(Trial& trial, bool isStated, bool holds, const std::string& expected, const std::string& got);

/// How many ports there are, as the service counts them, and how much it tells of them.
struct PortCounts {
    size_t displays = 0;
    size_t inputs = 0;
    size_t told = 0; ///< Notifications after INIT; fewer than there should be if the service is faulty.
};

/// The ports of one direction, and the notifications that tell of them.
struct PortKind {
    uint32_t state;
    uint32_t format;
    const char* counted; ///< The request that tells their number.
    size_t PortCounts::*count;
};

inline constexpr PortKind kPortKinds[] = {
    {VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, "GET_VO_COUNT",
     &PortCounts::displays},
    {VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, "GET_VI_COUNT",
     &PortCounts::inputs},
};

/// For all cases of a test that follow.
PortCounts CountPorts(Trial& trial);

/// Takes what tells of the ports after INIT, in the order in which it comes. What was sent before it has come
/// as well then.
std::vector<Notified> TakePorts(Actor& client, const PortCounts& counts);

/// A client that has been told of all ports.
Actor& AnnouncedClient(Trial& trial, const PortCounts& counts);

/// Announces a client again, and takes all else that has come by then.
std::vector<Notified> TakeAllSoFar(Actor& client, const PortCounts& counts);

} // namespace vesk::ctl::check
