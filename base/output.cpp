// What programs print for people.
#include "base/output.h"

#include "base/text.h"

#include <exception>

namespace vesk {

namespace {

/// At once, so that lines of several processes do not mix.
void Put(std::FILE* out, const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), out);
}

} // namespace

void PutLine(std::FILE* out, std::string_view line)
{
    Put(out, Printable(line) + '\n');
}

void PutLines(std::FILE* out, std::string_view lines)
{
    Put(out, PrintableLines(lines));
}

void PutError(std::string_view program, std::string_view text) noexcept
try {
    PutLine(stderr, std::string(program).append(": ").append(text));
} catch (const std::exception&) {
    std::fputs("an error cannot be told: out of memory\n", stderr);
}

} // namespace vesk
