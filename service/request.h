// One request as the service's model sees it.
#pragma once

#include "vesk_service/virtual_service.h"
#include "vesk_video/message.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vesk::service {

/// 0, or a VeskServiceResult.
using Result = uint16_t;
inline constexpr Result kOk = 0;

/// Who sent a request.
struct Sender {
    std::string procName;
    pid_t process = 0;
};

struct Request {
    VeskVideoMsgHead head{};
    Sender sender;
    std::span<const std::byte> payload;

    uint32_t Param1() const { return static_cast<uint32_t>(head.ulParam1); }
};

/// A notification that leaves once the request in hand is answered.
struct Notification {
    std::string procName;
    uint32_t notifyId = 0;
    std::vector<std::byte> payload;

    template <class Record>
    static Notification Of(const std::string& procName, uint32_t notifyId, const Record& record)
    {
        const auto bytes = std::as_bytes(std::span(&record, 1));
        return {procName, notifyId, {bytes.begin(), bytes.end()}};
    }
};

using Notifications = std::vector<Notification>;

} // namespace vesk::service
