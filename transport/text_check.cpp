// Check of a caller's text argument; its line belongs to the main request module.
#include "transport/text_check.h"

#include "transport/log.h"
#include "vesk_video/common.h"

#include <cstring>
#include <string_view>

namespace vesk {

static constexpr char kLogSource[] = "vesk_video_interface";
static constexpr size_t kCheckedLength = 1024;

uint32_t VideoNorthCheckCharPtr(const char* str)
{
    if (IS_NULL(str))
        return VESK_VIDEO_ERR_FAILURE;
    const std::string_view checked(str, strnlen(str, kCheckedLength));
    return checked.find_first_of("\n\r") != checked.npos ? VESK_VIDEO_ERR_ARGUMENT : VESK_VIDEO_OK;
}

} // namespace vesk
