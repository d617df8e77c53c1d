// Checks of fields that several records have. What is refused is logged, with its value.
#pragma once

#include "service/request.h"

#include <string>

namespace vesk::service {

// The log names a field by its own name and by what it belongs to: "window", "overlay channel 7".

/// VESK_SERVICE_ERR_VALUE if a side is below 1, unless all is 0, which stands for the whole.
Result CheckRect(const VeskServiceRect&, const char* field, const std::string& owner);

/// VESK_SERVICE_ERR_VALUE if it is above 100 per cent.
Result CheckOpacity(uint32_t opacity, const std::string& owner);

/// VESK_SERVICE_ERR_VALUE if it does not end with a NUL.
Result CheckText(std::span<const char> text, const char* field, const std::string& owner);

/// VESK_SERVICE_ERR_NUMBER if none of @p outputs output ports has the number.
Result CheckOutput(uint32_t port, size_t outputs, const std::string& owner);

} // namespace vesk::service
