// Start, stop and identity of the library.
#include "vesk_video/lifecycle.h"
#include "callback/callback_pointer.h"
#include "platform/secure_memory.h"
#include "transport/envelope.h"
#include "transport/request.h"
#include "vesk_video/receive.h"

#include <cstring>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

namespace {

constexpr char kVersion[] = VESK_VERSION_TEXT;
constexpr char kFallbackName[] = "MediaCtlSrvPro";

int AskProcessName(std::string& name)
{
    try {
        return GetSelfProcName(name);
    } catch (...) {
        return -1;
    }
}

} // namespace

uint32_t VeskVideoInit(void)
{
    std::string& name = g_veskVideoServiceName;
    const int hookResult = AskProcessName(name);
    if (hookResult != 0 || name.size() >= VESK_VIDEO_NAME_SIZE) {
        // Spelt so, and written twice, on the device.
        LOG_TWICE(kError, "Get procName faild. ret=%d, len=%zu", hookResult, name.size());
        name = kFallbackName;
    }
    LOG(kInfo, "%s:procName[%s]", __func__, name.c_str());
    StoreCallback(nullptr);
    CreateRecvMsgProcEntry();

    VeskVideoInitInfo info{};
    if (memcpy_s(info.procName, sizeof info.procName, name.c_str(), name.size() + 1) != 0) {
        TRACE(kInfo, "memcpy_s fail, procName[%s]", name.c_str());
        LOG(kError, "memcpy_s fail, procName[%s]", name.c_str());
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (memcpy_s(info.taskName, sizeof info.taskName, kReceiveTaskName, strlen(kReceiveTaskName) + 1) != 0) {
        TRACE(kInfo, "memcpy_s fail, taskName[%s]", kReceiveTaskName);
        LOG(kError, "memcpy_s fail, taskName[%s]", kReceiveTaskName);
        return VESK_VIDEO_ERR_FAILURE;
    }
    LOG(kInfo, "after init north proc_name[%s] task_name[%s]", name.c_str(), kReceiveTaskName);
    const uint32_t ret = Send<VESK_VIDEO_MSG_INIT>({}, &info);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_INIT) : MESSAGE_FAILED(VESK_VIDEO_MSG_INIT, ret);
}

uint32_t VeskVideoExit(void)
{
    LOG(kInfo, START(VeskVideoExit));
    LOG(kInfo, "Vesk video interface exit");
    StoreCallback(nullptr);
    const uint32_t ret = Post<VESK_VIDEO_MSG_EXIT>();
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_EXIT) : MESSAGE_FAILED(VESK_VIDEO_MSG_EXIT, ret);
}

uint32_t VeskVideoGetVersion(char* versionBuf, uint32_t versionBufLen)
{
    LOG(kDetail, "Get vesk_video version, len=%u", versionBufLen);
    if (versionBuf == nullptr || versionBufLen == 0)
        return VESK_VIDEO_ERR_FAILURE;
    return memcpy_s(versionBuf, versionBufLen, kVersion, sizeof kVersion) != 0 ? VESK_VIDEO_ERR_FAILURE
                                                                               : VESK_VIDEO_OK;
}
