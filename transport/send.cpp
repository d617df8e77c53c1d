// The three sends that carry every request, and the two readers of their answers.
#include "platform/os_msg.h"
#include "platform/secure_memory.h"
#include "transport/envelope.h"
#include "transport/log.h"
#include "vesk_video/message.h"

#include <cstdlib>
#include <cstring>
#include <memory>

static constexpr auto& kLogModule = vesk::log_module::kTransport;

namespace {

constexpr uint32_t kHeadSize = sizeof(VeskVideoMsgHead);
constexpr uint32_t kMaxPayload = VESK_VIDEO_MAX_MESSAGE_SIZE - kHeadSize;

/// One outgoing message: its envelope and its data block, which lives until the platform's send has returned.
/// The platform may change the envelope.
class Message {
public:
    bool Address()
    {
        return memset_s(&envelope_, sizeof envelope_, 0, sizeof envelope_) == 0 &&
               vesk::VeskVideoFillMsgEnvelope(&envelope_) == VESK_VIDEO_OK;
    }

    bool Allocate(uint32_t size)
    {
        block_.reset(std::malloc(size));
        envelope_.data = block_.get();
        envelope_.dataLen = size;
        return block_ != nullptr;
    }

    /// Fills the data block; what follows the header is the payload.
    bool Fill(OsMsgType type, const VeskVideoMsgHead& head, const void* payload)
    {
        envelope_.type = type;
        envelope_.msgId = head.msgId;
        auto* block = static_cast<unsigned char*>(envelope_.data);
        if (memcpy_s(block, envelope_.dataLen, &head, kHeadSize) != 0)
            return false;
        const uint32_t payloadLen = envelope_.dataLen - kHeadSize;
        return payloadLen == 0 || memcpy_s(block + kHeadSize, payloadLen, payload, payloadLen) == 0;
    }

    OsMsgEnvelope& Envelope() { return envelope_; }

private:
    OsMsgEnvelope envelope_{};
    std::unique_ptr<void, decltype(&std::free)> block_{nullptr, &std::free};
};

/// Prepares a synchronous message with a payload of @p payloadLen bytes. Returns false when that fails.
bool PrepareSynchronous(Message& message, const VeskVideoMsgHead& head, const void* payload,
                        uint32_t payloadLen)
{
    using namespace vesk;
    if (!message.Address())
        return false;
    const uint32_t size = kHeadSize + payloadLen;
    if (!message.Allocate(size)) {
        LOG_TWICE(kError, "malloc failed, len=%d", size);
        return false;
    }
    return message.Fill(OS_MSG_SYNCHRONOUS, head, payload);
}

/// The answer to one synchronous request; released on every path that obtained one.
class Response {
public:
    explicit Response(OsMsgEnvelope* request)
        : sendResult_(OsMsgSynSend(request, &envelope_, VESK_VIDEO_SYNC_TIMEOUT))
    {
    }
    ~Response()
    {
        if (HasArrived())
            OsMsgSynRespFree(envelope_);
    }
    Response(const Response&) = delete;
    Response& operator=(const Response&) = delete;

    bool HasArrived() const { return sendResult_ == 0 && envelope_ != nullptr; }
    uint32_t SendResult() const { return sendResult_; }
    /// The length that the peer states; the data may be missing.
    uint32_t Length() const { return envelope_->dataLen; }
    bool HasHead() const { return envelope_->data != nullptr && Length() >= kHeadSize; }
    const unsigned char* Payload() const { return static_cast<unsigned char*>(envelope_->data) + kHeadSize; }
    uint16_t Result() const
    {
        VeskVideoMsgHead head;
        std::memcpy(&head, envelope_->data, sizeof head);
        return head.uwSubMsgID;
    }

private:
    OsMsgEnvelope* envelope_ = nullptr;
    const uint32_t sendResult_;
};

/// Sends a request whose answer must be exactly one header; returns the result code in it. "Headle" is spelt
/// so on the device, and this file's error lines are written twice there.
uint32_t VeskVideoHeadleSyncResult(OsMsgEnvelope* envelope)
{
    using namespace vesk;
    const Response response(envelope);
    if (!response.HasArrived()) {
        LOG_TWICE(kError, "send sync msg Fail[0x%x]", response.SendResult());
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (!response.HasHead() || response.Length() != kHeadSize) {
        LOG_TWICE(kError, "response buf error, zoraMsgLen=%zu rspBufLen=%d", sizeof(VeskVideoMsgHead),
                  response.Length());
        return VESK_VIDEO_ERR_FAILURE;
    }
    const uint32_t result = response.Result();
    TRACE(kInfo, "recv video result success, ret=%d", result);
    return result;
}

/// Sends a request whose answer carries exactly @p rspBufLen bytes, and copies them to @p rspBuf.
uint32_t VeskVideoHandleSyncResponse(OsMsgEnvelope* envelope, void* rspBuf, uint32_t rspBufLen)
{
    if (rspBuf == nullptr || rspBufLen == 0) {
        LOG(kError, "input param error rspBufLen=%d", rspBufLen);
        LOG(kError, "input param error, rspBufLen=%d", rspBufLen);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const Response response(envelope);
    if (!response.HasArrived()) {
        LOG_TWICE(kError, "send sync msg Fail[%#x]", response.SendResult());
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (!response.HasHead()) {
        LOG_TWICE(kError, "sync response error, msgId[%d] dataLen[%d]", envelope->msgId, response.Length());
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (const uint32_t result = response.Result(); result != VESK_VIDEO_OK)
        return result;
    const uint32_t payloadLen = response.Length() - kHeadSize;
    if (payloadLen != rspBufLen) {
        LOG_TWICE(kError, "response buf error, outBufLen=%d rspBufLen=%d", rspBufLen, payloadLen);
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (memcpy_s(rspBuf, rspBufLen, response.Payload(), rspBufLen) != 0) {
        LOG_TWICE(kError, "memcpy_s failed, outBufLen=%d rspBufLen=%d", rspBufLen, rspBufLen);
        return VESK_VIDEO_ERR_FAILURE;
    }
    TRACE(kInfo, "recv response success, dataLen = %d", rspBufLen);
    return VESK_VIDEO_OK;
}

/// The values that each send shows of its message.
#define SHOWN(envelope, head)                                                                                \
    (envelope).type, (envelope).msgId, (envelope).dataLen, (head)->uwSubMsgID,                               \
        static_cast<unsigned long long>((head)->ulParam1), (head)->ulParam2

} // namespace

uint32_t VeskVideoSendAsyncMsg(const VeskVideoMsgHead* head)
{
    Message message;
    if (!message.Address())
        return VESK_VIDEO_ERR_FAILURE;
    if (!message.Allocate(kHeadSize)) {
        LOG_TWICE(kError, "malloc failed, len=%zu", sizeof(VeskVideoMsgHead));
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (!message.Fill(OS_MSG_ASYNCHRONOUS, *head, nullptr))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "send sync msg: type=%d, msgId=%d, dataLen=%d uwSubMsgID=%d, ulParam1=%llu, ulParam2=%d\n",
        SHOWN(message.Envelope(), head));
    return OsMsgAsynSend(&message.Envelope());
}

uint32_t VeskVideoSendSyncMsgWithoutResponse(const VeskVideoMsgHead* head, const void* payload,
                                             uint32_t payloadLen)
{
    if (payload == nullptr) {
        payloadLen = 0;
    } else if (payloadLen == 0 || payloadLen > kMaxPayload) {
        LOG_TWICE(kError, "input param error, rspBufLen=%d", payloadLen);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    Message message;
    if (!PrepareSynchronous(message, *head, payload, payloadLen))
        return VESK_VIDEO_ERR_FAILURE;
    TRACE(kInfo, "send sync msg: type=%d, msgId=%u, dataLen=%u uwSubMsgID=%u, ulParam1=%llu, ulParam2=%u\n",
          SHOWN(message.Envelope(), head));
    return VeskVideoHeadleSyncResult(&message.Envelope());
}

uint32_t VeskVideoSendSyncMsg(const VeskVideoMsgHead* head, const void* payload, uint32_t payloadLen,
                              void* rspBuf, uint32_t rspBufLen)
{
    if (rspBuf == nullptr || rspBufLen == 0) {
        LOG(kError, "input param error, rspBufLen=%d", rspBufLen);
        LOG(kError, "input param error, rspBuf rspBufLen=%d", rspBufLen);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    if (payloadLen > kMaxPayload) {
        LOG_TWICE(kError, "msg data is too long, msgLen=%d totalLen=%d", payloadLen, kHeadSize + payloadLen);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    if (payload == nullptr && payloadLen != 0) {
        LOG(kError, "input param error, payload is NULL, payloadLen=%u", payloadLen);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    Message message;
    if (!PrepareSynchronous(message, *head, payload, payloadLen))
        return VESK_VIDEO_ERR_FAILURE;
    TRACE(kInfo, "send sync msg: type=%d, msgId=%d, dataLen=%d uwSubMsgID=%d, ulParam1=%llu, ulParam2=%d\n",
          SHOWN(message.Envelope(), head));
    return VeskVideoHandleSyncResponse(&message.Envelope(), rspBuf, rspBufLen);
}
