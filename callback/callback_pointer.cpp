// The installed callback: a plain exported pointer that several threads read and write as one whole.
#include "callback/callback_pointer.h"

#include <atomic>

VeskVideoNotifyCallback g_veskVideoCallBackPtr = nullptr;

namespace vesk {

void StoreCallback(VeskVideoNotifyCallback callback)
{
    std::atomic_ref(g_veskVideoCallBackPtr).store(callback);
}

} // namespace vesk

VeskVideoNotifyCallback VeskVideoGetCallbackPtr(void)
{
    return std::atomic_ref(g_veskVideoCallBackPtr).load();
}
