// Port notifications that wait for a callback. One lock guards the list; it is never held while a
// callback runs.
#include "callback/resend_queue.h"

#include "callback/source.h"
#include "platform/secure_memory.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>

std::list<NorthMsgResendInfo> g_cbResendQueue;

namespace {

std::mutex g_lock;

/// Frees what is still held when the library is unloaded. The detached receive thread may outlive the
/// list, so nothing is held or read from then on.
struct Unload {
    bool done = false;

    ~Unload()
    {
        const std::lock_guard guard(g_lock);
        for (const NorthMsgResendInfo& held : g_cbResendQueue)
            std::free(held.data);
        g_cbResendQueue.clear();
        done = true;
    }
} g_unload;

using Copy = std::unique_ptr<void, decltype(&std::free)>;

std::optional<NorthMsgResendInfo> TakeOldest()
{
    const std::lock_guard guard(g_lock);
    if (g_unload.done || g_cbResendQueue.empty())
        return std::nullopt;
    const NorthMsgResendInfo oldest = g_cbResendQueue.front();
    g_cbResendQueue.pop_front();
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
    // Looked at again under the lock: a callback installed since the handler looked has perhaps already
    // emptied the queue, and the notification would be stranded in it.
    if (const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr(); callback != nullptr)
        return callback;
    if (g_unload.done)
        return nullptr;
    try {
        g_cbResendQueue.push_back({msgId, copy.get(), dataLen});
        copy.release();
    } catch (const std::bad_alloc&) {
        // Dropped, as for want of memory for the copy.
    }
    return nullptr;
}

void DeliverHeldNotifications()
{
    while (const auto held = TakeOldest()) {
        const Copy data(held->data, &std::free);
        // VeskVideoExit on another thread may have forgotten the callback meanwhile.
        if (const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr(); callback != nullptr)
            callback(held->msgId, held->data, held->dataLen);
    }
}

} // namespace vesk

using vesk::kLogSource;

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
