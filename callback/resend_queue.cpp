// Port notifications that wait for a callback. One lock guards the list; it is never held while a
// callback runs.
#include "callback/resend_queue.h"

#include "platform/secure_memory.h"
#include "transport/log.h"

#include <pthread.h>

#include <cstdlib>
#include <memory>
#include <mutex>

static constexpr auto& kLogModule = vesk::log_module::kCallback;

std::list<NorthMsgResendInfo> g_cbResendQueue;

namespace {

std::mutex g_lock;

void FreeAllLocked()
{
    for (const NorthMsgResendInfo& held : g_cbResendQueue)
        std::free(held.data);
    g_cbResendQueue.clear();
}

/// Frees what is still held when the process ends. The detached receive thread may outlive the list, so
/// nothing is held or read from then on.
struct Unload {
    bool done = false;

    ~Unload()
    {
        const std::lock_guard guard(g_lock);
        FreeAllLocked();
        done = true;
    }
} g_unload;

/// A forked child finds the list whole and unlocked, and without what its parent holds.
[[maybe_unused]] const int g_atFork = pthread_atfork([] { g_lock.lock(); }, [] { g_lock.unlock(); },
                                                     [] {
                                                         FreeAllLocked();
                                                         g_lock.unlock();
                                                     });

using Copy = std::unique_ptr<void, decltype(&std::free)>;

using HeldList = std::list<NorthMsgResendInfo>; // an entry moves from one to another without allocation

/// Takes the oldest notification off the queue, and the callback that it goes to; empty when there is none of
/// either. Both at once: what is taken need never be put back, where others may have been taken meanwhile.
HeldList TakeOldest(VeskVideoNotifyCallback& callback)
{
    HeldList oldest;
    const std::lock_guard guard(g_lock);
    callback = VeskVideoGetCallbackPtr();
    if (callback != nullptr && !g_unload.done && !g_cbResendQueue.empty())
        oldest.splice(oldest.begin(), g_cbResendQueue, g_cbResendQueue.begin());
    return oldest;
}

} // namespace

namespace vesk {

VeskVideoNotifyCallback HoldUnlessCallback(uint32_t msgId, const void* data, uint32_t dataLen)
{
    Copy copy(std::malloc(dataLen), &std::free);
    if (copy == nullptr || memcpy_s(copy.get(), dataLen, data, dataLen) != 0)
        return nullptr;
    const std::lock_guard guard(g_lock);
    // Checked again under the lock: a callback installed since the handler looked may already have emptied
    // the queue, and the notification would be stranded in it.
    if (const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr(); callback != nullptr)
        return callback;
    if (g_unload.done)
        return nullptr;
    try {
        g_cbResendQueue.push_back({msgId, copy.get(), dataLen});
        static_cast<void>(copy.release()); // the queue owns it now
    } catch (const std::bad_alloc&) {
        // Dropped, as when there is no memory for the copy.
    }
    return nullptr;
}

void DeliverHeldNotifications()
{
    VeskVideoNotifyCallback callback = nullptr;
    for (HeldList oldest = TakeOldest(callback); !oldest.empty(); oldest = TakeOldest(callback)) {
        const NorthMsgResendInfo& held = oldest.front();
        const Copy data(held.data, &std::free);
        callback(held.msgId, held.data, held.dataLen);
    }
}

} // namespace vesk

uint32_t VeskVideoGetMsgResendQ(std::list<NorthMsgResendInfo>* queue)
{
    if (IS_NULL(queue))
        return VESK_VIDEO_ERR_FAILURE;
    const std::lock_guard guard(g_lock);
    try {
        if (!g_unload.done)
            *queue = g_cbResendQueue;
        return VESK_VIDEO_OK;
    } catch (const std::bad_alloc&) {
        return VESK_VIDEO_ERR_FAILURE;
    }
}
