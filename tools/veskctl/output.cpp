// What subcommands print.
#include "tools/veskctl/output.h"

#include <cstdio>

namespace vesk::ctl {

void PrintLine(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

} // namespace vesk::ctl
