// The three sends that carry every request, and the two readers of their answers.
#include "platform/os_msg.h"
#include "platform/secure_memory.h"
#include "transport/envelope.h"
#include "transport/source.h"
#include "vesk_video/message.h"

#include <cstdlib>
#include <cstring>

using vesk::kLogSource;

namespace {

constexpr uint32_t kHeadSize = sizeof(VeskVideoMsgHead);
constexpr uint32_t kMaxPayload = VESK_VIDEO_MAX_MESSAGE_SIZE - kHeadSize;

enum MessageType : uint32_t { kAsynchronous = 0, kSynchronous = 1 };

/// Header and payload of one outgoing message: on the heap until the platform's send has returned.
class DataBlock {
public:
    explicit DataBlock(uint32_t size) : size_(size), bytes_(static_cast<unsigned char*>(std::malloc(size))) {}
    ~DataBlock() { std::free(bytes_); }
    DataBlock(const DataBlock&) = delete;
    DataBlock& operator=(const DataBlock&) = delete;

    bool IsAllocated() const { return bytes_ != nullptr; }

    bool Fill(const VeskVideoMsgHead& head, const void* payload)
    {
        if (memcpy_s(bytes_, size_, &head, kHeadSize) != 0)
            return false;
        const uint32_t payloadLen = size_ - kHeadSize;
        return payloadLen == 0 || memcpy_s(bytes_ + kHeadSize, payloadLen, payload, payloadLen) == 0;
    }

    void PutInto(OsMsgEnvelope& envelope, MessageType type, uint16_t msgId) const
    {
        envelope.type = type;
        envelope.msgId = msgId;
        envelope.dataLen = size_;
        envelope.data = bytes_;
    }

private:
    const uint32_t size_;
    unsigned char* const bytes_;
};

bool Address(OsMsgEnvelope& envelope)
{
    return memset_s(&envelope, sizeof envelope, 0, sizeof envelope) == 0 &&
           vesk::VeskVideoFillMsgEnvelope(&envelope) == VESK_VIDEO_OK;
}

/// The answer to one synchronous request; given back to the platform on every path that obtained one.
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
    uint32_t Length() const { return envelope_->data != nullptr ? envelope_->dataLen : 0; }
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

/// Sends a request whose answer must be exactly one header; returns the result code in it.
uint32_t VeskVideoHeadleSyncResult(OsMsgEnvelope* envelope)
{
    using namespace vesk;
    const Response response(envelope);
    if (!response.HasArrived()) {
        LOG_TWICE(kError, "send sync msg Fail[0x%x]", response.SendResult());
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (response.Length() != kHeadSize) {
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
    if (response.Length() < kHeadSize) {
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
    OsMsgEnvelope envelope;
    if (!Address(envelope))
        return VESK_VIDEO_ERR_FAILURE;
    DataBlock block(kHeadSize);
    if (!block.IsAllocated()) {
        LOG_TWICE(kError, "malloc failed, len=%zu", sizeof(VeskVideoMsgHead));
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (!block.Fill(*head, nullptr))
        return VESK_VIDEO_ERR_FAILURE;
    block.PutInto(envelope, kAsynchronous, head->msgId);
    LOG(kInfo, "send sync msg: type=%d, msgId=%d, dataLen=%d uwSubMsgID=%d, ulParam1=%llu, ulParam2=%d\n",
        SHOWN(envelope, head));
    return OsMsgAsynSend(&envelope);
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
    OsMsgEnvelope envelope;
    if (!Address(envelope))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t size = kHeadSize + payloadLen;
    DataBlock block(size);
    if (!block.IsAllocated()) {
        LOG_TWICE(kError, "malloc failed, len=%d", size);
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (!block.Fill(*head, payload))
        return VESK_VIDEO_ERR_FAILURE;
    block.PutInto(envelope, kSynchronous, head->msgId);
    TRACE(kInfo, "send sync msg: type=%d, msgId=%u, dataLen=%u uwSubMsgID=%u, ulParam1=%llu, ulParam2=%u\n",
          SHOWN(envelope, head));
    return VeskVideoHeadleSyncResult(&envelope);
}

uint32_t VeskVideoSendSyncMsg(const VeskVideoMsgHead* head, const void* payload, uint32_t payloadLen,
                              void* rspBuf, uint32_t rspBufLen)
{
    if (rspBuf == nullptr || rspBufLen == 0) {
        LOG(kError, "input param error, rspBufLen=%d", rspBufLen);
        LOG(kError, "input param error, rspBuf rspBufLen=%d", rspBufLen);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t total = kHeadSize + payloadLen;
    if (payloadLen > kMaxPayload) {
        LOG_TWICE(kError, "msg data is too long, msgLen=%d totalLen=%d", payloadLen, total);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    if (payload == nullptr && payloadLen != 0) {
        LOG(kError, "input param error, payload is NULL, payloadLen=%u", payloadLen);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    OsMsgEnvelope envelope;
    if (!Address(envelope))
        return VESK_VIDEO_ERR_FAILURE;
    DataBlock block(total);
    if (!block.IsAllocated()) {
        LOG_TWICE(kError, "malloc failed, len=%d", total);
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (!block.Fill(*head, payload))
        return VESK_VIDEO_ERR_FAILURE;
    block.PutInto(envelope, kSynchronous, head->msgId);
    TRACE(kInfo, "send sync msg: type=%d, msgId=%d, dataLen=%d uwSubMsgID=%d, ulParam1=%llu, ulParam2=%d\n",
          SHOWN(envelope, head));
    return VeskVideoHandleSyncResponse(&envelope, rspBuf, rspBufLen);
}
