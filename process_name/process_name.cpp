// Names a process after its program. An application that links this archive, in C or C++, defines the hook
// and so takes the place of the library's default.
#include "vesk_video/lifecycle.h"

#include <cerrno>
#include <cstring>

int GetSelfProcName(std::string& name)
{
    constexpr size_t kMaxLength = VESK_VIDEO_NAME_SIZE - 1;
    name.assign(program_invocation_short_name, strnlen(program_invocation_short_name, kMaxLength));
    return name.empty() ? 1 : 0;
}

// The link options of this archive name this symbol as undefined. GetSelfProcName itself would not do: if the
// library comes first, the linker finds it there and leaves the archive alone.
extern "C" const char vesk_process_name = 0;
