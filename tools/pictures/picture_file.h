// Pictures in files that the user names.
#pragma once

#include "pictures/files.h"

#include <string>

namespace vesk::ctl {

/// @param path  - is standard input. @throw Error
pictures::Picture ReadPicture(pictures::Files& files, const std::string& path);

/// Whether a picture can be written to a file of this name. @throw Failure if not
void RequirePicturePath(const std::string& path);

/// Writes a picture in the format that the name says; - is standard output, as PNG. A file has its old
/// contents or the new picture, whenever this ends. @throw Error
void WritePicture(const std::string& path, const pictures::Picture& picture);

} // namespace vesk::ctl
