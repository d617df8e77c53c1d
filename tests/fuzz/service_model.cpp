// Requests at the virtual service's model, control requests among them: real and other numbers, small
// arguments, right and wrong lengths.
#include "fuzz.h"

#include "service/payload_check.h"
#include "service/request_table.h"
#include "service/service.h"

using namespace fuzz;
using namespace vesk;
using service::kRangeSize;

namespace {

const messages::Request* g_asked;
VeskVideoMsgHead g_head;

} // namespace

// In place of the platform's: what the service answers, and what it sends.
uint32_t HostMsgReply(OsMsgEnvelope*, const void* data, uint32_t dataLen)
{
    VeskVideoMsgHead head;
    CHECK(dataLen >= sizeof head);
    std::memcpy(&head, data, sizeof head);
    const std::span answer(static_cast<const std::byte*>(data) + sizeof head, dataLen - sizeof head);
    if (g_asked == nullptr || head.uwSubMsgID != 0 || g_asked->answer.kind == messages::Kind::kUnanswered)
        return 0;
    CHECK(service::Fits(g_asked->answer, g_head, answer));
    return 0;
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* sent)
{
    CHECK(messages::FindNotification(sent->msgId) != nullptr && sent->dataLen >= sizeof(VeskVideoMsgHead));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    RuntimeDir();
    FuzzedDataProvider input(bytes, size);
    service::Service service({"VIDEO", "VCTL"});
    while (input.remaining_bytes() != 0) {
        const auto& listed = input.ConsumeIntegralInRange(0, 7) != 0
                                 ? input.PickValueInArray(messages::kRequests)
                                 : input.PickValueInArray(messages::kControlRequests);
        const auto argument = [&] {
            return input.ConsumeBool() ? input.ConsumeIntegralInRange<uint64_t>(0, 7) * kRangeSize +
                                             input.ConsumeIntegralInRange<uint64_t>(0, 4)
                                       : input.ConsumeIntegral<uint64_t>();
        };
        g_head = {0,          static_cast<uint16_t>(listed.number), static_cast<uint16_t>(argument()),
                  argument(), static_cast<uint32_t>(argument()),    0};
        if (!input.ConsumeIntegralInRange(0, 15))
            g_head.msgId = input.ConsumeIntegral<uint16_t>();
        const bool isExact = input.ConsumeIntegralInRange(0, 7) != 0;
        const messages::Form& form = listed.payload;
        size_t count = 1;
        if (form.kind == messages::Kind::kArray)
            count = std::min<uint64_t>(messages::ValueOf(g_head, form.count), 64);
        const size_t length = isExact && form.kind != messages::Kind::kBytes
                                  ? form.size * count
                                  : input.ConsumeIntegralInRange<size_t>(0, 2048);
        std::vector<uint8_t> data(sizeof g_head + length);
        std::memcpy(data.data(), &g_head, sizeof g_head);
        const std::string payload = input.ConsumeRandomLengthString(length);
        payload.copy(reinterpret_cast<char*>(data.data()) + sizeof g_head, length);
        if (form.kind == messages::Kind::kText && isExact)
            data.resize(sizeof g_head + strnlen(payload.c_str(), length - 1) + 1);
        OsMsgEnvelope envelope{};
        envelope.type = OS_MSG_SYNCHRONOUS;
        envelope.msgId = g_head.msgId;
        std::strcpy(envelope.sendProcName, input.ConsumeBool() ? "one" : "other");
        envelope.dataLen = static_cast<uint32_t>(data.size());
        envelope.data = data.data();
        g_asked = messages::FindAnyRequest(g_head.msgId);
        service.Handle(envelope);
    }
    return 0;
}
