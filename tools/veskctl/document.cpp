// JSON that users give.
#include "tools/veskctl/document.h"

#include "base/file.h"

#include <iostream>
#include <iterator>

namespace vesk::ctl {

std::string ReadDocument(const std::string& path)
{
    using Bytes = std::istreambuf_iterator<char>;
    constexpr size_t kMost = 64U << 20U; // the largest message is many times longer as JSON
    return path == "-" ? std::string(Bytes(std::cin), Bytes()) : FileContents(path, kMost);
}

} // namespace vesk::ctl
