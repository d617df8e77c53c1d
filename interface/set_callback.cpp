// Installs the application's callback.
#include "callback/callback_pointer.h"
#include "callback/resend_queue.h"
#include "transport/request.h"
#include "vesk_video/notification.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

uint32_t VeskVideoSetCallback(const VeskVideoCallbackInfo* info)
{
    LOG(kInfo, "##### VeskVideoSetCallback #####");
    LOG(kInfo, "set vesk video callback start");
    if (IS_NULL(info))
        return VESK_VIDEO_ERR_FAILURE;
    if (info->notifyCallback != nullptr) {
        StoreCallback(info->notifyCallback);
        DeliverHeldNotifications();
        return VESK_VIDEO_OK;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_CALLBACK>({}, info);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_CALLBACK) : FAILED(ret);
}
