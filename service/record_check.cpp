// Checks of fields that several records have.
#include "service/record_check.h"

#include "service/log.h"
#include "service/placement.h"

namespace vesk::service {

Result CheckRect(const VeskServiceRect& rect, const char* field, const std::string& owner)
{
    if (IsWhole(rect) || !IsEmpty(rect))
        return kOk;
    LOG(kError, "%s of %s refused: it is %dx%d at %d,%d", field, owner.c_str(), rect.width, rect.height,
        rect.x, rect.y);
    return VESK_SERVICE_ERR_VALUE;
}

Result CheckOpacity(uint32_t opacity, const std::string& owner)
{
    constexpr uint32_t kMost = 100;
    if (opacity <= kMost)
        return kOk;
    LOG(kError, "opacity of %s refused: it is %u per cent", owner.c_str(), opacity);
    return VESK_SERVICE_ERR_VALUE;
}

Result CheckText(std::span<const char> text, const char* field, const std::string& owner)
{
    if (std::find(text.begin(), text.end(), '\0') != text.end())
        return kOk;
    LOG(kError, "%s of %s refused: it does not end within its %zu bytes", field, owner.c_str(), text.size());
    return VESK_SERVICE_ERR_VALUE;
}

Result CheckOutput(uint32_t port, size_t outputs, const std::string& owner)
{
    if (port < outputs)
        return kOk;
    LOG(kError, "%s refused: there is no output port %u", owner.c_str(), port);
    return VESK_SERVICE_ERR_NUMBER;
}

} // namespace vesk::service
