// A platform that answers every request at once and logs nothing.
#include "platform/os_log.h"
#include "platform/os_msg.h"
#include "vesk_video/vesk_video.h"

uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t)
{
    thread_local struct {
        OsMsgEnvelope envelope;
        unsigned char data[sizeof(VeskVideoMsgHead) + sizeof(uint32_t)];
    } answer{};
    const bool isCount = envelope->msgId == VESK_VIDEO_MSG_GET_VO_COUNT;
    answer.envelope.data = answer.data;
    answer.envelope.dataLen = sizeof(VeskVideoMsgHead) + (isCount ? sizeof(uint32_t) : 0);
    *response = &answer.envelope;
    return 0;
}

void OsMsgSynRespFree(OsMsgEnvelope*) {}

void ZORA_Trace(uint32_t, uint32_t, const char*, const char*, uint32_t, const char*, ...) {}

uint32_t ZORA_GetVideoTracLevel()
{
    return 0;
}

void VeskOmLogModuleLogRecord(uint32_t, uint32_t, const char*, uint32_t, uint32_t, const char*, ...) {}

uint32_t VeskVideoGetPrivateLogId(uint32_t)
{
    return 0;
}
