// Shared-memory buffer queues.
#include "vesk_video/queue.h"
#include "platform/os_queue.h"
#include "platform/secure_memory.h"
#include "transport/request.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string_view>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

namespace {

/// Number in the next queue's name.
std::atomic<uint64_t> g_veskVideoQueueSeq = 0;

/// Checks a text argument: 0; 1, logged, when it is null; 2 when its first 1024 characters have a line break.
uint32_t VideoNorthCheckCharPtr(const char* str)
{
    constexpr size_t kCheckedLength = 1024;
    if (IS_NULL(str))
        return VESK_VIDEO_ERR_FAILURE;
    const std::string_view checked(str, strnlen(str, kCheckedLength));
    return checked.find_first_of("\n\r") != checked.npos ? VESK_VIDEO_ERR_ARGUMENT : VESK_VIDEO_OK;
}

} // namespace

uint32_t VeskVideoAdvancedQueueClientInit(const char* serverName)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT));
    if (IS_NULL(serverName))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "%s enter serverName:%s.", __func__, serverName);
    LOG(kInfo, "Init advanced queue client, serverName=%s", serverName); // logged twice on the device
    char payload[kTextSize<VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT>] = {};
    const size_t length = strlen(serverName);
    if (memcpy_s(payload, sizeof payload, serverName, length + 1) != 0) {
        LOG(kError, "memcpy_s Fail serverName[%s]", serverName);
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (VideoNorthCheckCharPtr(serverName) != VESK_VIDEO_OK) {
        LOG(kInfo, "param serverName has unsafe character");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = SendText<VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT>({}, payload, length);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT) : FAILED(ret);
}

uint32_t VeskVideoBuffCreateQueue(uint32_t* memQueId)
{
    constexpr uint32_t kEntries = 2000;
    LOG(kInfo, "##### VeskVideoBuffCreateQueue start#####");
    if (IS_NULL(memQueId))
        return VESK_VIDEO_ERR_FAILURE;
    *memQueId = 1;
    LOG(kInfo, "memReqCnt[%d]", kEntries);
    OsMemQueReq request{};
    char name[64];
    const uint64_t number = g_veskVideoQueueSeq.load();
    const int length =
        std::snprintf(name, sizeof name, "vid_2k_2000_%llu", static_cast<unsigned long long>(number));
    if (memcpy_s(request.name, sizeof request.name, name, static_cast<size_t>(length) + 1) != 0) {
        LOG(kError, "memcpy_sp Fail"); // spelt so on the device
        return VESK_VIDEO_ERR_FAILURE;
    }
    request.id = 1;
    request.cnt = kEntries;
    TRACE_AND_LOG(kInfo, "OsMemQueReq : name:[%s],id[%d],cnt[%d]", request.name, request.id, request.cnt);
    if (OsShmAdvancedBuffCreateQueue(&request, memQueId) == 0)
        ++g_veskVideoQueueSeq;
    if (const uint32_t ret = OsShmAdvancedInitQueue(*memQueId, "VIDEO"); ret != 0) {
        MESSAGE_FAILED(VESK_VIDEO_MSG_CREATE_QUEUE, ret);
        return ret;
    }
    TRACE(kInfo, "##### VeskVideoBuffCreateQueue memQueId[%s][%d]#####", request.name, *memQueId);
    const uint32_t ret = Send<VESK_VIDEO_MSG_CREATE_QUEUE>({.ulParam2 = *memQueId});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_CREATE_QUEUE)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_CREATE_QUEUE, ret);
}

uint32_t VeskVideoBuffDestroyQueue(uint32_t memQueId)
{
    TRACE(kInfo, "##### VESK_VIDEO_MSG_DESTROY_QUEUE start#####\n");
    LOG(kInfo, "%s: memQueId=%u.", __func__, memQueId);
    const uint32_t ret = Send<VESK_VIDEO_MSG_DESTROY_QUEUE>({.ulParam2 = memQueId});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_DESTROY_QUEUE) : FAILED(ret);
}

uint32_t VeskVideoActivateQueue(uint32_t queueId, uint32_t bEnableOrDisable)
{
    TRACE(kInfo, "##### VeskVideoActivateQueue start queueId[%d] bEnableOrDisable[%d]#####\n", queueId,
          bEnableOrDisable);
    return OsShmAdvancedActivateQueue(queueId, bEnableOrDisable != 0) != 0 ? VESK_VIDEO_ERR_FAILURE
                                                                           : VESK_VIDEO_OK;
}
