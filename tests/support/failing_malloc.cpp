#include "support/failing_malloc.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define NEXT_MALLOC __interceptor_malloc
#else
#define NEXT_MALLOC __libc_malloc
#endif

extern "C" void* NEXT_MALLOC(size_t size);

// Called before the thread sanitizer is ready, so it must not be instrumented.
extern "C" __attribute__((no_sanitize("thread"))) void* malloc(size_t size)
{
    ++failing_malloc::t_count;
    size_t left = failing_malloc::g_untilFailure;
    while (left != 0 && !failing_malloc::g_untilFailure.compare_exchange_weak(left, left - 1))
        continue;
    if (left == 1)
        return nullptr;
    return size == failing_malloc::t_failingSize ? nullptr : NEXT_MALLOC(size);
}
