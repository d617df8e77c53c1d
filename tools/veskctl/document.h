// JSON that users give.
#pragma once

#include <string>

namespace vesk::ctl {

/// The text of a document, of at most 64 MiB; - is standard input. @throw Error
std::string ReadDocument(const std::string& path);

} // namespace vesk::ctl
