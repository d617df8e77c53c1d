// JSON that users give.
#include "tools/veskctl/document.h"

#include "base/file.h"

namespace vesk::ctl {

std::string ReadDocument(const std::string& path)
{
    constexpr size_t kMost = 64U << 20U; // the largest message is many times longer as JSON
    return FileContents(path, kMost);
}

} // namespace vesk::ctl
