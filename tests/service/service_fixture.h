// An application of a test, and the virtual service as its peer.
#pragma once

#include "support/processes.h"
#include "vesk_host/message.h"
#include "vesk_service/virtual_service.h"
#include "vesk_video/vesk_video.h"

#include <csignal>
#include <map>
#include <mutex>

using namespace processes;

inline std::string g_name = "test-app";

inline std::mutex g_lock;
inline auto& g_notified =
    *new std::map<uint32_t, std::vector<std::string>>; // by number; the receive thread never ends
inline auto& g_seen = *new std::string;                // numbers, in their order

inline uint32_t OnNotification(uint32_t notifyId, void* data, uint32_t dataLen)
{
    // These two point to their parameter, whatever the length.
    if (notifyId == VESK_VIDEO_ON_IFREAME_REQUEST || notifyId == VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY)
        dataLen = sizeof(uint32_t);
    const std::lock_guard guard(g_lock);
    g_notified[notifyId].emplace_back(static_cast<char*>(data), dataLen);
    g_seen += std::to_string(notifyId) + ' ';
    return 0;
}

inline std::string Seen()
{
    const std::lock_guard guard(g_lock);
    return g_seen;
}

/// The data of the notifications @p id, once there are @p count.
inline std::vector<std::string> Arrived(uint32_t id, size_t count = 1)
{
    std::vector<std::string> arrived;
    Eventually([&] {
        const std::lock_guard guard(g_lock);
        arrived = g_notified[id];
        return arrived.size() >= count;
    });
    return arrived;
}

inline void Install()
{
    VeskVideoCallbackInfo info{};
    info.notifyCallback = OnNotification;
    EXPECT_EQ(VeskVideoSetCallback(&info), 0U);
}

/// Becomes a client, to which the ports of the default device are announced in their order: a notification
/// that came while the callback is installed would overtake those that are held.
inline void Join()
{
    EXPECT_EQ(VeskVideoInit(), 0U);
    std::list<NorthMsgResendInfo> held;
    EXPECT_TRUE(Eventually([&] { return VeskVideoGetMsgResendQ(&held) == 0 && held.size() == 9; }));
    Install();
}

template <class... Words>
Child StartService(Words... arguments)
{
    Child service = Start(VESK_SERVICE_PATH, arguments...);
    service.ExpectOutput("serving VIDEO/VCTL");
    return service;
}

/// Sends a request with a payload of whatever length.
inline uint32_t SendRaw(uint16_t msgId, uint64_t param1 = 0, const std::string& payload = "",
                        uint16_t sub = 0, uint32_t param2 = 0)
{
    const VeskVideoMsgHead head{0, msgId, sub, param1, param2, 0};
    return VeskVideoSendSyncMsgWithoutResponse(&head, payload.empty() ? nullptr : payload.data(),
                                               static_cast<uint32_t>(payload.size()));
}

/// The number that a request answers with.
template <class Function, class... Arguments>
uint32_t Number(Function function, Arguments... arguments)
{
    uint32_t number = 0;
    EXPECT_EQ(function(arguments..., &number), 0U);
    return number;
}

/**
 * Plays statements, between semicolons or on lines that begin with a name, with the names of the decoder:
 *
 *     VO_START 1 !STATE                            a request, its arguments, and how it is refused
 *     SET_SCREEN_OFFSET 1 xOffset=-10 yOffset=20   fields of its payload; all others are 0
 *     GET_VO_PORT 1 = [0]: plugged=1 enabled=1     those of its answer, in which X: begins the names that
 * follow GET_VO_PORT 1 = .. [0].plugged=0             the answer that was expected last, but for some fields
 *     ON CAMERA_CTRL_RESULT camCtrlCmd=2           the next notification of a name
 *
 * A value alone is an argument in the header, in the order of its fields, or the number that an answer
 * consists of. Each # is @p index, each % @p number.
 */
void Play(std::string script, uint32_t index = 0, uint32_t number = 0);

/// The number and data block of the request that a statement writes.
std::pair<uint32_t, std::vector<std::byte>> RequestOf(const std::string& statement);

/// An application; the services that it talks to are the test's.
struct Application {
    RuntimeDir directory;

    ~Application()
    {
        EXPECT_NE(SendRaw(VESK_VIDEO_MSG_GET_VO_COUNT), 0U); // gives its connections up
        HostMsgEndTask("VAPI");
    }
};

/// An application that is known to a service.
struct VideoService : Application {
    Child service;

    template <class... Words>
    explicit VideoService(Words... options) : service(StartService(options...))
    {
        Join();
    }
    ~VideoService()
    {
        EXPECT_EQ(service.Wait(SIGTERM), 0); // with the leak sanitizer: nothing has leaked
        service.ExpectOutput("ended");
    }
};

/// The same with a service whose time is moved by command.
struct Stepped : VideoService {
    Stepped() : VideoService("--step") {}
};
