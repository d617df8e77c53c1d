// Fills the routing fields of outgoing messages.
#include "transport/envelope.h"

#include "platform/secure_memory.h"
#include "transport/log.h"
#include "vesk_video/message.h"

char NORTH_RECV_PROC_NAME[VESK_VIDEO_NAME_SIZE] = "VIDEO";
char NORTH_RECV_TASK_NAME[VESK_VIDEO_NAME_SIZE] = "VCTL";

namespace vesk {

static constexpr auto& kLogModule = log_module::kTransport;

std::string g_veskVideoServiceName;

uint32_t VeskVideoFillMsgEnvelope(OsMsgEnvelope* envelope)
{
    const char* serviceName = VeskVideoGetServiceName();
    if (serviceName == nullptr) {
        LOG(kError, "procName null");
        return VESK_VIDEO_ERR_FAILURE;
    }
    const size_t nameLength = std::char_traits<char>::length(serviceName);
    if (memcpy_s(envelope->recvProcName, VESK_VIDEO_NAME_SIZE, NORTH_RECV_PROC_NAME, VESK_VIDEO_NAME_SIZE) !=
            0 ||
        memcpy_s(envelope->recvTaskName, VESK_VIDEO_NAME_SIZE, NORTH_RECV_TASK_NAME, VESK_VIDEO_NAME_SIZE) !=
            0 ||
        memcpy_s(envelope->sendProcName, VESK_VIDEO_NAME_SIZE, serviceName, nameLength + 1) != 0 ||
        memcpy_s(envelope->sendTaskName, VESK_VIDEO_NAME_SIZE, kReceiveTaskName, sizeof kReceiveTaskName) !=
            0) {
        LOG(kError, "memcpy_s failed, recvTaskName[%s] recvProcName[%s] sendProcName[%s] sendTaskName[%s]",
            envelope->recvTaskName, envelope->recvProcName, envelope->sendProcName, envelope->sendTaskName);
        return VESK_VIDEO_ERR_FAILURE;
    }
    envelope->sendCpuId = 0;
    envelope->recvCpuId = 0;
    return VESK_VIDEO_OK;
}

} // namespace vesk

const char* VeskVideoGetServiceName(void)
{
    return vesk::g_veskVideoServiceName.c_str();
}
