// Pictures and films that clients name by a path, as far as the model has to know them.
#pragma once

#include "vesk_service/control.h"

#include <string>

namespace vesk::service {

/**
 * The mode of a file, which must be regular and readable, by an absolute path. The headers of PNG and
 * YUV4MPEG2 say it; what the file does not say is as in @p otherwise. Only its first bytes are read, and
 * nothing else that the path may name is waited for. @throw Error, which says what is wrong with the path
 */
VeskControlMode ModeOfFile(const std::string& path, const VeskControlMode& otherwise);

} // namespace vesk::service
