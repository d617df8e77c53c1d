#include "support/failing_malloc.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define NEXT_MALLOC __interceptor_malloc
#else
#define NEXT_MALLOC __libc_malloc
#endif

extern "C" void* NEXT_MALLOC(size_t size);

// Called before the sanitizers are ready, so it must not be instrumented.
extern "C" __attribute__((no_sanitize("address", "thread", "undefined"))) void* malloc(size_t size)
{
    ++failing_malloc::t_count;
    size_t& untilFailure = failing_malloc::g_untilFailure;
    size_t left = __atomic_load_n(&untilFailure, __ATOMIC_SEQ_CST);
    while (left != 0 && !__atomic_compare_exchange_n(&untilFailure, &left, left - 1, true, __ATOMIC_SEQ_CST,
                                                     __ATOMIC_SEQ_CST))
        continue;
    if (left == 1)
        return nullptr;
    return size == failing_malloc::t_failingSize ? nullptr : NEXT_MALLOC(size);
}
