#include "support/failing_malloc.h"

#include <cstdint>

namespace failing_malloc {

namespace {

thread_local size_t t_failingSize = SIZE_MAX;
thread_local size_t t_count = 0;

} // namespace

Scope::Scope(size_t size)
{
    t_failingSize = size;
}
Scope::~Scope()
{
    t_failingSize = SIZE_MAX;
}
size_t Count()
{
    return t_count;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
bool IsAvailable()
{
    return false;
}
#else
bool IsAvailable()
{
    return true;
}
#endif

} // namespace failing_malloc

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size)
{
    ++failing_malloc::t_count;
    return size == failing_malloc::t_failingSize ? nullptr : __libc_malloc(size);
}
#endif
