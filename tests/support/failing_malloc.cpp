#include "support/failing_malloc.h"

#include <cstdint>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define NEXT_MALLOC __interceptor_malloc
#else
#define NEXT_MALLOC __libc_malloc
#endif

static thread_local size_t t_failingSize = SIZE_MAX;
static thread_local size_t t_count = 0;

extern "C" void* NEXT_MALLOC(size_t size);

// Called before the thread sanitizer is ready, so it must not be instrumented.
extern "C" __attribute__((no_sanitize("thread"))) void* malloc(size_t size)
{
    ++t_count;
    return size == t_failingSize ? nullptr : NEXT_MALLOC(size);
}

namespace failing_malloc {

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

} // namespace failing_malloc
