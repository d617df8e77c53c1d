// Counts forks, and closes the platform's descriptors in a forked child.
#include "runtime/fork.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <mutex>

namespace vesk::host {

namespace {

std::atomic<uint64_t> g_forks = 0;

/// One bit for each descriptor. Those beyond are not closed in a child, and lose nothing else.
constexpr int kNoted = 1 << 20;
std::array<uint64_t, kNoted / 64> g_open;
int g_end = 0; // no descriptor from here on is noted
std::mutex g_lock;

constexpr uint64_t Bit(int fd)
{
    return uint64_t{1} << (fd % 64);
}

/// Removes the note on a descriptor. False when there is none: a fork has closed it.
bool TakeNote(int fd)
{
    if (fd >= kNoted)
        return true;
    uint64_t& word = g_open[static_cast<size_t>(fd) / 64];
    const bool isNoted = (word & Bit(fd)) != 0;
    word &= ~Bit(fd);
    return isNoted;
}

void StartAfresh()
{
    for (int fd = 0; fd < g_end; ++fd) {
        if ((g_open[static_cast<size_t>(fd) / 64] & Bit(fd)) != 0)
            close(fd);
    }
    std::fill_n(g_open.begin(), (g_end + 63) / 64, 0);
    g_end = 0;
    ++g_forks;
    g_lock.unlock();
}

[[maybe_unused]] const int g_atFork =
    pthread_atfork([] { g_lock.lock(); }, [] { g_lock.unlock(); }, StartAfresh);

} // namespace

uint64_t ForkCount()
{
    return g_forks.load(std::memory_order_relaxed);
}

int OpenDescriptor(const std::function<int()>& open)
{
    const std::lock_guard guard(g_lock);
    const int fd = open();
    if (fd >= 0 && fd < kNoted) {
        g_open[static_cast<size_t>(fd) / 64] |= Bit(fd);
        g_end = std::max(g_end, fd + 1);
    }
    return fd;
}

void CloseDescriptor(int fd)
{
    const std::lock_guard guard(g_lock);
    if (TakeNote(fd))
        close(fd);
}

void ForgetDescriptor(int fd)
{
    const std::lock_guard guard(g_lock);
    TakeNote(fd);
}

} // namespace vesk::host
