// The directory in which the endpoints of one user live.
#pragma once

#include "process/unique_fd.h"

#include <string>

namespace vesk::host {

std::string RuntimeDirPath();

enum class WhenMissing { kCreate, kLeave };

/**
 * Opens the runtime directory, which must belong to this user, be writable by nobody else, and not be
 * a symbolic link.
 *
 * @return Not open when it cannot be used, after logging the reason unless it is missing and to be left so.
 */
UniqueFd OpenRuntimeDir(WhenMissing whenMissing = WhenMissing::kCreate);

} // namespace vesk::host
