// Port notifications that wait for a callback. One lock guards the list; it is never held while a
// callback runs.
#include "callback/resend_queue.h"

#include "platform/secure_memory.h"
#include "transport/log.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>

static constexpr auto& kLogModule = vesk::log_module::kCallback;

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

/// A held notification and the callback that is to receive it.
struct Delivery {
    NorthMsgResendInfo held;
    VeskVideoNotifyCallback callback;
};

/// Takes the oldest notification off the queue. Without a callback all of them stay held, in order.
std::optional<Delivery> TakeOldest()
{
    const std::lock_guard guard(g_lock);
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (g_unload.done || g_cbResendQueue.empty() || callback == nullptr)
        return std::nullopt;
    const Delivery oldest{g_cbResendQueue.front(), callback};
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
    while (const auto oldest = TakeOldest()) {
        const Copy data(oldest->held.data, &std::free);
        oldest->callback(oldest->held.msgId, oldest->held.data, oldest->held.dataLen);
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
