// The directory in which the endpoints of one user live.
#pragma once

#include "message/unique_fd.h"

#include <string>

namespace vesk::host {

std::string RuntimeDirPath();

enum class WhenMissing { kCreate, kLeave };

/**
 * Opens the runtime directory. It must be a directory of this
 * user's own that nobody else may write, reached without a symbolic link.
 *
 * @return Not open, after a line that says why, when it cannot be used; silently when it is
 *         missing and to be left so.
 */
UniqueFd OpenRuntimeDir(WhenMissing whenMissing = WhenMissing::kCreate);

} // namespace vesk::host
