// Pictures as PNG and JPEG.
#pragma once

#include "base/bytes.h"
#include "pictures/picture.h"

namespace vesk::pictures {

enum class Format { kPng, kJpeg };

/// The format that a file's name ends with. @throw Error if it is neither .png nor .jpg nor .jpeg
Format FormatOf(const std::string& path);

/// @throw Error
Bytes Encode(const Picture& picture, Format format, int jpegQuality = 90);

} // namespace vesk::pictures
