// Whether a request's payload has the form that the list of messages gives it.
#include "service/payload_check.h"

#include <algorithm>

namespace vesk::service {

bool Fits(const messages::Form& form, const VeskVideoMsgHead& head, std::span<const std::byte> payload)
{
    switch (form.kind) {
    case messages::Kind::kRecord:
        return payload.size() == form.size;
    case messages::Kind::kArray: {
        const uint64_t count = ValueOf(head, form.count);
        return count <= VESK_VIDEO_MAX_MESSAGE_SIZE / form.size && payload.size() == count * form.size;
    }
    case messages::Kind::kText: // ends with its NUL and holds no other
        return !payload.empty() && payload.size() <= form.size &&
               std::find(payload.begin(), payload.end(), std::byte{0}) == payload.end() - 1;
    case messages::Kind::kBytes:
        return true;
    default:
        return payload.empty();
    }
}

} // namespace vesk::service
