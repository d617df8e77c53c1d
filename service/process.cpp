// Whether a client's process still runs.
#include "service/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace vesk::service {

uint64_t StartOf(pid_t process)
{
    char text[1024];
    std::snprintf(text, sizeof text, "/proc/%d/stat", process);
    const int file = open(text, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return errno == ENOENT ? 0 : kUnknownStart;
    const ssize_t length = read(file, text, sizeof text - 1);
    const int error = errno;
    close(file);
    if (length <= 0)
        return length < 0 && error == ESRCH ? 0 : kUnknownStart;
    text[length] = '\0';
    char state = 0;
    int threads = 0;
    uint64_t start = 0;
    const char* nameEnd = std::strrchr(text, ')'); // the name itself may contain anything
    if (nameEnd == nullptr ||
        std::sscanf(nameEnd,
                    ") %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %d %*d %" SCNu64,
                    &state, &threads, &start) != 3)
        return kUnknownStart;
    // The first thread of a process may end before the others.
    return (state == 'Z' && threads <= 1) || state == 'X' ? 0 : start;
}

} // namespace vesk::service
