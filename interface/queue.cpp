// Shared-memory buffer queues.
#include "vesk_video/queue.h"
#include "interface/source.h"
#include "platform/os_queue.h"
#include "platform/secure_memory.h"
#include "transport/request.h"
#include "transport/text_check.h"

#include <atomic>
#include <cstdio>
#include <cstring>

using namespace vesk;

namespace {

/// Number in the next queue's name.
std::atomic<uint64_t> g_veskVideoQueueSeq = 0;

} // namespace

uint32_t VeskVideoAdvancedQueueClientInit(const char* serverName)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT));
    if (IS_NULL(serverName))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "%s enter serverName:%s.", __func__, serverName);
    LOG(kInfo, "Init advanced queue client, serverName=%s", serverName);
    char payload[64] = {};
    const size_t size = strlen(serverName) + 1;
    if (memcpy_s(payload, sizeof payload, serverName, size) != 0) {
        LOG(kError, "memcpy_s Fail serverName[%s]", serverName);
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (VideoNorthCheckCharPtr(serverName) != VESK_VIDEO_OK) {
        LOG(kInfo, "param serverName has unsafe character");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret =
        SendBytes({.msgId = VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT}, payload, static_cast<uint32_t>(size));
    return FINISH(ret, FAILED(ret), DONE(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT));
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
        LOG(kError, "memcpy_sp Fail");
        return VESK_VIDEO_ERR_FAILURE;
    }
    request.id = 1;
    request.cnt = kEntries;
    TRACE_AND_LOG(kInfo, "OsMemQueReq : name:[%s],id[%d],cnt[%d]", request.name, request.id, request.cnt);
    if (OsShmAdvancedBuffCreateQueue(&request, memQueId) == 0)
        g_veskVideoQueueSeq.store(number + 1);
    if (const uint32_t ret = OsShmAdvancedInitQueue(*memQueId, "VIDEO"); ret != 0) {
        MESSAGE_FAILED(VESK_VIDEO_MSG_CREATE_QUEUE, ret);
        return ret;
    }
    TRACE(kInfo, "##### VeskVideoBuffCreateQueue memQueId[%s][%d]#####", request.name, *memQueId);
    const uint32_t ret = Send({.msgId = VESK_VIDEO_MSG_CREATE_QUEUE, .ulParam2 = *memQueId});
    return FINISH(ret, MESSAGE_FAILED(VESK_VIDEO_MSG_CREATE_QUEUE, ret), DONE(VESK_VIDEO_MSG_CREATE_QUEUE));
}

uint32_t VeskVideoBuffDestroyQueue(uint32_t memQueId)
{
    TRACE(kInfo, "##### VESK_VIDEO_MSG_DESTROY_QUEUE start#####\n");
    LOG(kInfo, "%s: memQueId=%u.", __func__, memQueId);
    const uint32_t ret = Send({.msgId = VESK_VIDEO_MSG_DESTROY_QUEUE, .ulParam2 = memQueId});
    return FINISH(ret, FAILED(ret), DONE(VESK_VIDEO_MSG_DESTROY_QUEUE));
}

uint32_t VeskVideoActivateQueue(uint32_t queueId, uint32_t bEnableOrDisable)
{
    TRACE(kInfo, "##### VeskVideoActivateQueue start queueId[%d] bEnableOrDisable[%d]#####\n", queueId,
          bEnableOrDisable);
    return OsShmAdvancedActivateQueue(queueId, bEnableOrDisable != 0) != 0 ? VESK_VIDEO_ERR_FAILURE
                                                                           : VESK_VIDEO_OK;
}
