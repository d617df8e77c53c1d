// What the service's model is made of: requests, results, notifications.
#include "service/request.h"

#include "service/log.h"

#include <exception>

namespace vesk::service {

void Notifications::Add(const std::string& procName, uint32_t notifyId, std::span<const std::byte> payload,
                        uint64_t param1, uint32_t param2)
try {
    all_.push_back({procName, notifyId, {payload.begin(), payload.end()}, param1, param2});
} catch (const std::exception& error) {
    LOG(kError, "notification %u to %s dropped: %s", notifyId, procName.c_str(), error.what());
}

} // namespace vesk::service
