// Whether what stands behind a header is what its request allows.
#include "service/message_list.h"

#include <algorithm>

namespace vesk::service {

bool Fits(const Extent& extent, const VeskVideoMsgHead& head, std::span<const std::byte> bytes)
{
    switch (extent.kind) {
    case Extent::kRecord:
        return bytes.size() == extent.size;
    case Extent::kArray: {
        const uint64_t count = extent.count(head);
        return count <= VESK_VIDEO_MAX_MESSAGE_SIZE / extent.size && bytes.size() == count * extent.size;
    }
    case Extent::kText: // ends with its NUL and holds no other
        return !bytes.empty() && bytes.size() <= extent.size &&
               std::find(bytes.begin(), bytes.end(), std::byte{0}) == bytes.end() - 1;
    case Extent::kAnyBytes:
        return true;
    default:
        return bytes.empty();
    }
}

} // namespace vesk::service
