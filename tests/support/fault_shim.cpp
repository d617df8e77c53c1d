// Lets chosen calls fail, in a process that preloads it or is linked with it.
#include "support/fault_shim.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

struct Error {
    const char* name;
    int number; // 0: a short count
};
constexpr Error kErrors[] = {
    {"EINTR", EINTR}, {"EMFILE", EMFILE}, {"ENOSPC", ENOSPC}, {"ENOMEM", ENOMEM}, {"SHORT", 0}};

struct Fault {
    char call[16] = "";
    int error = 0;
    unsigned nth = 0, perThousand = 0;
    std::atomic<unsigned> calls = 0;
};

Fault g_faults[32];
std::atomic<unsigned> g_count, g_active, g_random;
__attribute__((constructor)) void Begin()
{
    SetFaults(std::getenv("VESK_FAULTS"));
}

unsigned NextRandom() // of all threads, so that each gets others
{
    unsigned value = g_random.fetch_add(0x9e3779b9U);
    value = (value ^ value >> 16U) * 0x85ebca6bU;
    value = (value ^ value >> 13U) * 0xc2b2ae35U;
    return value ^ value >> 16U;
}

/// The error of this call: -1 for none.
int Next(const char* call)
{
    for (unsigned i = 0; i < g_active; ++i) {
        Fault& fault = g_faults[i];
        if (std::strcmp(fault.call, call) != 0)
            continue;
        if (fault.nth != 0 ? ++fault.calls == fault.nth : NextRandom() % 1000 < fault.perThousand) {
            ++g_count;
            return fault.error;
        }
    }
    return -1;
}

/// Whether this call fails, with its errno; a short count cuts @p size instead.
bool Fails(const char* call, size_t* size = nullptr)
{
    const int error = Next(call);
    if (error > 0)
        errno = error;
    if (error == 0 && size != nullptr && *size > 1)
        *size = 1;
    return error > 0;
}

#define NEXT(name) reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name))

} // namespace

extern "C" {

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which need their own
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);

void* malloc(size_t size) noexcept
{
    return Fails("malloc") ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept
{
    return Fails("malloc") ? nullptr : __libc_calloc(count, size);
}
#endif

void SetFaults(const char* faults)
{
    g_active = 0;
    g_count = 0;
    unsigned active = 0, seed = 1;
    char word[48];
    for (int read = 0; faults != nullptr && std::sscanf(faults, "%47s%n", word, &read) == 1; faults += read) {
        Fault& fault = g_faults[active];
        char error[16], sign = '\0';
        unsigned number = 0;
        if (std::sscanf(word, "seed=%u", &seed) == 1)
            continue;
        const bool isFault =
            std::sscanf(word, "%15[^=]=%15[A-Z]%c%u", fault.call, error, &sign, &number) == 4;
        const Error* found = nullptr;
        for (const Error& known : kErrors) {
            if (isFault && std::strcmp(known.name, error) == 0)
                found = &known;
        }
        if (found == nullptr || (sign != '@' && sign != '%') ||
            ++active == sizeof g_faults / sizeof *g_faults) {
            std::fprintf(stderr, "VESK_FAULTS: '%s' is no fault\n", word);
            std::abort();
        }
        fault.error = found->number;
        fault.nth = sign == '@' ? number : 0;
        fault.perThousand = sign == '%' ? number : 0;
        fault.calls = 0;
    }
    g_random = seed;
    g_active = active;
}

unsigned FaultCount()
{
    return g_count;
}

ssize_t recv(int fd, void* data, size_t size, int flags)
{
    return Fails("recv") ? -1 : NEXT(recv)(fd, data, size, flags);
}

ssize_t send(int fd, const void* data, size_t size, int flags)
{
    return Fails("send") ? -1 : NEXT(send)(fd, data, size, flags);
}

ssize_t pread(int fd, void* data, size_t size, off_t offset)
{
    return Fails("pread", &size) ? -1 : NEXT(pread)(fd, data, size, offset);
}

ssize_t pwrite(int fd, const void* data, size_t size, off_t offset)
{
    return Fails("pwrite", &size) ? -1 : NEXT(pwrite)(fd, data, size, offset);
}

int accept4(int fd, sockaddr* address, socklen_t* length, int flags)
{
    return Fails("accept4") ? -1 : NEXT(accept4)(fd, address, length, flags);
}

int socket(int domain, int type, int protocol) noexcept
{
    return Fails("socket") ? -1 : NEXT(socket)(domain, type, protocol);
}

int epoll_ctl(int epoll, int operation, int fd, epoll_event* event) noexcept
{
    return Fails("epoll_ctl") ? -1 : NEXT(epoll_ctl)(epoll, operation, fd, event);
}

int poll(pollfd* sockets, nfds_t count, int timeout)
{
    return Fails("poll") ? -1 : NEXT(poll)(sockets, count, timeout);
}

int epoll_create1(int flags) noexcept
{
    return Fails("epoll_create1") ? -1 : NEXT(epoll_create1)(flags);
}

int eventfd(unsigned value, int flags) noexcept
{
    return Fails("eventfd") ? -1 : NEXT(eventfd)(value, flags);
}

int ftruncate(int fd, off_t length) noexcept
{
    return Fails("ftruncate") ? -1 : NEXT(ftruncate)(fd, length);
}

// The mode is there for a file that is created; read in any case, it does no harm.
int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return Fails("open") ? -1 : NEXT(open)(path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return Fails("openat") ? -1 : NEXT(openat)(directory, path, flags, mode);
}

} // extern "C"
