// What a service hands out numbers for, and what each request needs so that it succeeds.
#pragma once

#include "base/bytes.h"
#include "vesk_video/message_list.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::ctl::check {

/// A kind of thing: engines, streams, channels, queues. Lines are as Actor takes them; empty if there is no
/// such request.
struct Thing {
    std::string_view number; ///< Name of its number: "outEngNo"; $outEngNo in lines.
    const char* title;       ///< "output engine"
    std::string_view create;
    std::string_view destroy;
    std::string_view configure; ///< What must be set before it can be started.
    std::string_view start;
    std::string_view stop;
    bool isShared =
        false; ///< Opened twice it is refused, as it stands for a port or a number of the client's choice.
};

std::span<const Thing> Things();
/// Null if the name is that of no thing's number.
const Thing* FindThing(std::string_view number);

/// How a request is sent so that it succeeds.
struct Example {
    std::string needs;       ///< Lines that come before it, between semicolons.
    std::string_view fields; ///< Its fields that are neither 0 nor the number of a thing or port.
    /// Its result depends on more than the interface says, so any code will do.
    bool mayBeRefused = false;
    bool isOfCamera = false; ///< The port must have a camera.
};

Example ExampleOf(const messages::Request& request);

/// True if people may notice that the service does what is asked for: displays, cameras and pointers change.
bool IsNoticed(uint32_t request, BytesView data);

/// True if numbers of this name are those of ports.
bool IsPort(std::string_view name);

/// The header of a request; what a short one lacks is 0.
VeskVideoMsgHead HeadOf(BytesView request);
/// Sets a field of the header of a request.
void SetHeader(Bytes& request, messages::HeaderField field, uint64_t value);

/// Makes a request for a list ask for so many entries.
Bytes ForEntries(const messages::Request& request, Bytes data, uint64_t count);

/// Lines that are separated by semicolons, without blanks around them.
std::vector<std::string> LinesOf(std::string_view lines);

} // namespace vesk::ctl::check
