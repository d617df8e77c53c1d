// What each request carries and how it is answered, read off the interface's list of messages.
#pragma once

#include "service/request.h"
#include "vesk_video/vesk_video.h"

namespace vesk::service {

/// What stands behind the header.
struct Extent {
    enum Kind { kNothing, kRecord, kArray, kText, kAnyBytes, kUnanswered };

    Kind kind;
    size_t size = 0; ///< Of the record, of one entry of the array, or of the text at most.
    uint64_t (*count)(const VeskVideoMsgHead&) = nullptr; ///< Entries of the array.
};

struct ListedRequest {
    uint16_t number;
    const char* name;
    Extent payload;
    Extent answer;
};

#define VESK_NONE                                                                                            \
    {                                                                                                        \
        Extent::kNothing                                                                                     \
    }
#define VESK_RECORD(type)                                                                                    \
    {                                                                                                        \
        Extent::kRecord, sizeof(type)                                                                        \
    }
#define VESK_ARRAY(type, field)                                                                              \
    {                                                                                                        \
        Extent::kArray, sizeof(type), [](const VeskVideoMsgHead& head) -> uint64_t { return head.field; }    \
    }
#define VESK_TEXT(size)                                                                                      \
    {                                                                                                        \
        Extent::kText, size                                                                                  \
    }
#define VESK_BYTES                                                                                           \
    {                                                                                                        \
        Extent::kAnyBytes                                                                                    \
    }
#define VESK_UNANSWERED                                                                                      \
    {                                                                                                        \
        Extent::kUnanswered                                                                                  \
    }
#define VESK_LISTED(name, number, payload, answer) {number, #name, payload, answer},

inline constexpr ListedRequest kRequests[] = {VESK_VIDEO_REQUESTS(VESK_LISTED)};

#undef VESK_NONE
#undef VESK_RECORD
#undef VESK_ARRAY
#undef VESK_TEXT
#undef VESK_BYTES
#undef VESK_UNANSWERED
#undef VESK_LISTED

/// True when @p bytes are what @p extent allows behind @p head.
bool Fits(const Extent& extent, const VeskVideoMsgHead& head, std::span<const std::byte> bytes);

} // namespace vesk::service
