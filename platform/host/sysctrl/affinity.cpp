// CPU affinity of the message threads. A thread is named by the low half of its handle, so it can be bound
// only once it runs its loop; until then its set is kept.
#include "sysctrl/affinity.h"

#include "platform/os_sysctrl.h"
#include "runtime/fork.h"

#include <pthread.h>

#include <exception>
#include <map>
#include <mutex>

namespace vesk::host {

namespace {

struct Affinity {
    std::mutex lock;
    std::map<uint32_t, pthread_t> threads; // message threads that run their loops
    std::map<uint32_t, cpu_set_t> wanted;  // for threads that do not run theirs yet
};

PerProcess<Affinity> g_affinity;

} // namespace

MessageThread::MessageThread()
{
    // Not around the whole constructor: that would throw on what it catches.
    try {
        const pthread_t self = pthread_self();
        Affinity& affinity = g_affinity.Get();
        const std::lock_guard guard(affinity.lock);
        affinity.threads[static_cast<uint32_t>(self)] = self;
        if (const auto set = affinity.wanted.extract(static_cast<uint32_t>(self)))
            pthread_setaffinity_np(self, sizeof(cpu_set_t), &set.mapped());
    } catch (const std::exception&) { // out of memory: it stays where it is
    }
}

MessageThread::~MessageThread()
{
    try {
        Affinity& affinity = g_affinity.Get();
        const std::lock_guard guard(affinity.lock);
        affinity.threads.erase(static_cast<uint32_t>(pthread_self()));
    } catch (const std::exception&) { // out of memory in a forked child, which has no list yet
    }
}

} // namespace vesk::host

int32_t OsSetProcessAffinity(uint32_t threadId, const cpu_set_t* cpuSet, uint32_t)
try {
    using namespace vesk::host;
    if (cpuSet == nullptr)
        return -1;
    if (CPU_COUNT(cpuSet) == 0)
        return 0;
    cpu_set_t usable;
    if (sched_getaffinity(0, sizeof usable, &usable) != 0)
        return -1;
    CPU_AND(&usable, &usable, cpuSet);
    if (CPU_COUNT(&usable) == 0)
        return -1;
    Affinity& affinity = g_affinity.Get();
    const std::lock_guard guard(affinity.lock);
    if (const auto thread = affinity.threads.find(threadId); thread != affinity.threads.end())
        return pthread_setaffinity_np(thread->second, sizeof usable, &usable) == 0 ? 0 : -1;
    affinity.wanted[threadId] = usable;
    return 0;
} catch (const std::exception&) {
    return -1;
}
