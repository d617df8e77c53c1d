// What the service's model is made of: requests, results, notifications.
#pragma once

#include "base/bytes.h"
#include "base/text.h"
#include "vesk_host/message.h"
#include "vesk_service/virtual_service.h"
#include "vesk_video/message.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vesk::service {

/// 0, or a VeskServiceResult.
using Result = uint16_t;
inline constexpr Result kOk = 0;

/// Who sent a request.
struct Sender {
    std::string procName;
    std::string taskName;
    HostProcess process = 0;
};

/// A request whose payload has been checked.
struct Request {
    VeskVideoMsgHead head{};
    Sender sender;
    std::span<const std::byte> payload;
};

/// A name as a template argument.
template <size_t size>
struct Name {
    char text[size];

    consteval Name(const char (&name)[size]) { std::copy_n(name, size, text); }
    constexpr operator std::string_view() const { return {text, size - 1}; }
};

/// An argument that travels in the header, as a parameter of the function that serves the request; @p name is
/// its name in the list of messages.
template <Name name>
class Argument {
public:
    static constexpr std::string_view kName = name;

    Argument(uint64_t value) : value_(value) {}
    operator uint64_t() const { return value_; }

private:
    uint64_t value_;
};

/// The name that stands for every client; no process can have one that is as long.
inline constexpr char kEveryClient[] = "every known client";

/// A notification; it is sent after the answer to the current request.
struct PendingNotification {
    std::string procName;
    uint32_t notifyId = 0;
    Bytes payload;
    uint64_t param1 = 0;
    uint32_t param2 = 0;
};

/// What the current request has to notify.
class Notifications {
public:
    /// One that there is no memory for is dropped and logged: the request has been served all the same.
    void Add(const std::string& procName, uint32_t notifyId, std::span<const std::byte> payload,
             uint64_t param1 = 0, uint32_t param2 = 0);
    std::vector<PendingNotification> TakeAll() { return std::exchange(all_, {}); }

private:
    std::vector<PendingNotification> all_;
};

} // namespace vesk::service
