// Whether what follows a header is what its request allows.
#include "service/message_list.h"

#include <algorithm>

namespace vesk::service {

bool Fits(const messages::Form& form, const VeskVideoMsgHead& head, std::span<const std::byte> bytes)
{
    switch (form.kind) {
    case messages::Kind::kRecord:
        return bytes.size() == form.size;
    case messages::Kind::kArray: {
        const uint64_t count = ValueOf(head, form.count);
        return count <= VESK_VIDEO_MAX_MESSAGE_SIZE / form.size && bytes.size() == count * form.size;
    }
    case messages::Kind::kText: // ends with its NUL and holds no other
        return !bytes.empty() && bytes.size() <= form.size &&
               std::find(bytes.begin(), bytes.end(), std::byte{0}) == bytes.end() - 1;
    case messages::Kind::kBytes:
        return true;
    default:
        return bytes.empty();
    }
}

} // namespace vesk::service
