// Pictures in files that the user names.
#include "tools/pictures/picture_file.h"

#include "base/file.h"
#include "base/replacement.h"
#include "pictures/image_file.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output_file.h"

#include <unistd.h>

#include <optional>

namespace vesk::ctl {

using pictures::Format;
using pictures::Picture;

namespace {

constexpr size_t kMostInput = 512U << 20U; // the largest picture, not compressed, with some room

} // namespace

Picture ReadPicture(pictures::Files& files, const std::string& path)
{
    std::optional<MemoryFile> input;
    if (path == "-")
        input.emplace(FileContents("-", kMostInput));
    const pictures::Frame frame = files.At(input ? input->Path() : path, 0);
    if (frame.picture == nullptr)
        throw Error(path + ": " + (frame.problem.empty() ? "has no picture" : frame.problem));
    return *frame.picture;
}

void RequirePicturePath(const std::string& path)
{
    if (path != "-")
        Usage([&] { return pictures::FormatOf(path); });
    else if (isatty(STDOUT_FILENO) != 0)
        throw Failure(kUsage, "a picture is not written to a terminal; give -o a file, or a pipe for -o -");
}

void WritePicture(const std::string& path, const Picture& picture)
{
    const Bytes bytes = pictures::Encode(picture, path == "-" ? Format::kPng : pictures::FormatOf(path));
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (path == "-")
        return WriteToOutput(text);
    Replacement file(path);
    WriteAll(file.Get(), text, path);
    file.Keep();
}

} // namespace vesk::ctl
