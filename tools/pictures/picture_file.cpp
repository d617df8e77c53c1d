// Pictures in files that the user names.
#include "tools/pictures/picture_file.h"

#include "base/file.h"
#include "pictures/image_file.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

namespace vesk::ctl {

using pictures::Format;
using pictures::Picture;

namespace {

constexpr size_t kMostInput = 512U << 20U; // the largest picture, not compressed, with some room

/// What is read from standard input, as a file that has a path.
class InputFile {
public:
    InputFile() : file_(memfd_create("picture", MFD_CLOEXEC))
    {
        if (!file_.IsOpen())
            throw Error(std::string("memory for standard input: ") + std::strerror(errno));
        WriteAll(file_.Get(), FileContents("-", kMostInput), "memory");
    }
    std::string Path() const { return "/proc/self/fd/" + std::to_string(file_.Get()); }

private:
    Descriptor file_;
};

/// A new file that takes the place of another one once it is complete.
class Replacement {
public:
    explicit Replacement(const std::string& path)
        : path_(path), part_(path + '.' + std::to_string(getpid()) + ".part"),
          file_(open(part_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666))
    {
        if (!file_.IsOpen())
            throw Error("cannot write " + path + ": " + std::strerror(errno));
    }
    Replacement(const Replacement&) = delete;
    ~Replacement()
    {
        if (!isDone_)
            unlink(part_.c_str());
    }

    void Write(std::string_view text)
    {
        WriteAll(file_.Get(), text, path_);
        if (rename(part_.c_str(), path_.c_str()) != 0)
            throw Error("cannot write " + path_ + ": " + std::strerror(errno));
        isDone_ = true;
    }

private:
    std::string path_;
    std::string part_;
    Descriptor file_;
    bool isDone_ = false;
};

/// Whether something is there that is no file, such as a pipe, or only leads to one.
bool IsSpecial(const std::string& path)
{
    struct stat found {};
    return lstat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode);
}

} // namespace

Picture ReadPicture(pictures::Files& files, const std::string& path)
{
    std::optional<InputFile> input;
    if (path == "-")
        input.emplace();
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
        WriteToOutput(text);
    else if (IsSpecial(path))
        OutputFile(path).Write(text);
    else
        Replacement(path).Write(text);
}

} // namespace vesk::ctl
