// What a process that reads files from anywhere can do.
#include "pictures/media/confine.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>

#ifdef VESK_SECCOMP
#include <cerrno>

#include <seccomp.h>
#endif

namespace vesk::pictures::media {

namespace {

/// Sanitizers take addresses by the terabyte, and have pipes and system calls of their own.
#ifdef VESK_SANITIZED
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

/// Room for the pictures that a decoder of the largest size keeps.
constexpr rlim_t kMostMemory = rlim_t{3} << 30;

void Limit(__rlimit_resource resource, rlim_t most)
{
    const rlimit limit{most, most};
    setrlimit(resource, &limit);
}

/// System calls of a decoder with one thread. Others fail, so those that a library can do without are no
/// harm.
void LimitCalls()
{
#ifdef VESK_SECCOMP
    const int calls[] = {SCMP_SYS(read),
                         SCMP_SYS(pread64),
                         SCMP_SYS(write),
                         SCMP_SYS(lseek),
                         SCMP_SYS(_llseek),
                         SCMP_SYS(recv),
                         SCMP_SYS(recvfrom),
                         SCMP_SYS(send),
                         SCMP_SYS(sendto),
                         SCMP_SYS(brk),
                         SCMP_SYS(mmap),
                         SCMP_SYS(mmap2),
                         SCMP_SYS(munmap),
                         SCMP_SYS(mremap),
                         SCMP_SYS(mprotect),
                         SCMP_SYS(madvise),
                         SCMP_SYS(futex),
                         SCMP_SYS(futex_time64),
                         SCMP_SYS(setitimer),
                         SCMP_SYS(clock_gettime),
                         SCMP_SYS(clock_gettime64),
                         SCMP_SYS(gettimeofday),
                         SCMP_SYS(sched_getaffinity),
                         SCMP_SYS(sched_yield),
                         SCMP_SYS(getrandom),
                         SCMP_SYS(getpid),
                         SCMP_SYS(gettid),
                         SCMP_SYS(rt_sigaction),
                         SCMP_SYS(rt_sigprocmask),
                         SCMP_SYS(rt_sigreturn),
                         SCMP_SYS(sigreturn),
                         SCMP_SYS(restart_syscall),
                         SCMP_SYS(exit),
                         SCMP_SYS(exit_group)};
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (filter == nullptr)
        return;
    for (const int call : calls)
        seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 0);
    seccomp_load(filter); // a kernel without it leaves the other limits
    seccomp_release(filter);
#endif
}

} // namespace

void Confine()
{
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_FSIZE, 0);
    Limit(RLIMIT_NPROC, 0);
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (!kIsSanitized) {
        Limit(RLIMIT_NOFILE, 0);
        Limit(RLIMIT_AS, kMostMemory);
        LimitCalls();
    }
}

void LimitProcessorTime(unsigned milliseconds)
{
    itimerval timer{};
    timer.it_value.tv_sec = milliseconds / 1000;
    timer.it_value.tv_usec = suseconds_t{milliseconds % 1000} * 1000;
    setitimer(ITIMER_PROF, &timer, nullptr);
}

} // namespace vesk::pictures::media
