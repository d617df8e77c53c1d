// What programs print for people.
#include "base/output.h"

#include "base/text.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>

namespace vesk {

namespace {

[[noreturn]] void FailToWrite()
{
    const int error = errno;
    if (error == EPIPE) { // the signal is ignored; without it, errors would be reported to nobody
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    throw std::system_error(error, std::generic_category(), "cannot write to standard output");
}

/// At once, so that lines of several processes do not mix. An error follows what it is about.
void Put(std::FILE* out, const std::string& text)
{
    if (out == stderr)
        std::fflush(stdout);
    if (std::fwrite(text.data(), 1, text.size(), out) != text.size() && out != stderr)
        FailToWrite();
}

} // namespace

void HoldStandardStreams() noexcept
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) // what is opened takes the lowest number; using it must still fail
            (void)!open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

void PutLine(std::FILE* out, std::string_view line)
{
    Put(out, Printable(line) + '\n');
}

void PutLines(std::FILE* out, std::string_view lines)
{
    Put(out, PrintableLines(lines));
}

void Flush()
{
    if (std::fflush(stdout) != 0)
        FailToWrite();
}

void PutError(std::string_view program, std::string_view text) noexcept
try {
    PutLine(stderr, std::string(program).append(": ").append(text));
} catch (const std::exception&) {
    std::fputs("an error cannot be told: out of memory\n", stderr);
}

void PutError(std::string_view program, const Error& error) noexcept
{
    PutError(program, error.what());
    for (const std::string& other : error.others)
        PutError(program, other);
}

} // namespace vesk
