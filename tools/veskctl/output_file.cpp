// Texts that a command writes to a file which the user names, or to one in memory.
#include "tools/veskctl/output_file.h"

#include "tools/veskctl/output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vesk::ctl {

OutputFile::OutputFile(const std::string& path)
    : path_(path), file_(path == "-" ? -1 : open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666))
{
    if (!file_.IsOpen() && path != "-")
        throw Error(path + ": " + std::strerror(errno));
}

void OutputFile::Write(std::string_view text)
{
    if (!file_.IsOpen()) {
        PutLines(stdout, text);
        return Flush();
    }
    (void)!ftruncate(file_.Get(), 0); // a pipe holds nothing
    lseek(file_.Get(), 0, SEEK_SET);
    WriteAll(file_.Get(), text, path_);
}

MemoryFile::MemoryFile(std::string_view text) : file_(memfd_create("veskctl", MFD_CLOEXEC))
{
    if (!file_.IsOpen())
        throw Error(std::string("no memory for a file: ") + std::strerror(errno));
    WriteAll(file_.Get(), text, "a file in memory");
}

std::string MemoryFile::Path() const
{
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file_.Get());
}

void WriteAll(int file, std::string_view bytes, const std::string& name)
{
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw Error("cannot write " + name + ": " + std::strerror(errno));
        bytes.remove_prefix(static_cast<size_t>(written));
    }
}

void WriteToOutput(std::string_view bytes)
{
    Flush();
    WriteAll(STDOUT_FILENO, bytes, "to standard output");
}

} // namespace vesk::ctl
