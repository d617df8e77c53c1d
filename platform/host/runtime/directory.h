// The directory in which the endpoints and processes of one user meet.
#pragma once

#include "runtime/unique_fd.h"

#include <functional>
#include <string>

#include <dirent.h>

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

/// Calls @p visit for what is in the directory. May throw what that throws.
void ForEachEntry(const UniqueFd& directory, const std::function<void(const dirent&)>& visit);

} // namespace vesk::host
