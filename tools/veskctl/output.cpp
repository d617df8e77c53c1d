// What subcommands print, each on a line that stays one and says nothing to a terminal.
#include "tools/veskctl/output.h"

#include <cstdarg>
#include <cstdlib>
#include <string>

#include <unistd.h>

namespace vesk::ctl {

void PrintLine(std::string_view line)
{
    PutLine(stdout, line);
    Flush();
}

void PutFormatted(std::FILE* out, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string line(static_cast<size_t>(length), '\0');
    std::vsnprintf(line.data(), line.size() + 1, format, values);
    va_end(values);
    PutLine(out, line);
}

bool IsScreen(std::FILE* out)
{
    const char* terminal = std::getenv("TERM");
    return isatty(fileno(out)) != 0 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

void PrintError(std::string_view text)
{
    PutError("veskctl", text);
}

void PrintError(const Error& error)
{
    PutError("veskctl", error);
}

} // namespace vesk::ctl
