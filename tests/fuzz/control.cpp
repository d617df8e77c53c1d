// Control messages at the virtual service's model, nearly right ones, between requests that they are about.
#include "fuzz.h"

#include "service/service.h"
#include "vesk_service/control_list.h"

#include <set>

using namespace fuzz;
using namespace vesk;

namespace {

std::set<HostMsgDeferred> g_owed;
HostMsgDeferred g_lastOwed;
int g_outcomes; // of the message in hand: answers, and deferred ones

} // namespace

// In place of the platform's.
uint32_t HostMsgReply(OsMsgEnvelope*, const void*, uint32_t dataLen)
{
    CHECK(dataLen <= VESK_VIDEO_MAX_MESSAGE_SIZE && ++g_outcomes == 1);
    return 0;
}

HostMsgDeferred HostMsgDefer(OsMsgEnvelope*)
{
    CHECK(++g_outcomes == 1);
    return g_owed.size() < 16 ? *g_owed.insert(++g_lastOwed).first : 0;
}

uint32_t HostMsgReplyDeferred(HostMsgDeferred deferred, const void*, uint32_t dataLen)
{
    CHECK(g_owed.erase(deferred) == 1 && dataLen <= VESK_VIDEO_MAX_MESSAGE_SIZE);
    return 0;
}

void HostMsgCloseDeferred(HostMsgDeferred deferred)
{
    CHECK(g_owed.erase(deferred) == 1);
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* sent)
{
    CHECK(messages::FindAnyNotification(sent->msgId) != nullptr);
    CHECK(sent->dataLen <= VESK_VIDEO_MAX_MESSAGE_SIZE);
    return sent->dataLen % 3 == 0 ? HOST_MSG_ERR_FULL : 0;
}

namespace {

constexpr uint16_t kNumbers[] = {
    VESK_VIDEO_MSG_INIT, VESK_VIDEO_MSG_OPEN_VO_PORT, VESK_VIDEO_MSG_VO_CLOSE, VESK_CONTROL_UNPLUG,
    VESK_CONTROL_NOTIFY, VESK_CONTROL_FAULT_ADD,      VESK_CONTROL_FAULT_LIST, VESK_CONTROL_FAULT_CLEAR,
    VESK_CONTROL_TIME,   VESK_CONTROL_SCENARIO,       VESK_CONTROL_RESET,      VESK_CONTROL_WATCH,
    VESK_CONTROL_TICK};

/// A record with some of its words changed.
template <class Record>
std::string Varied(FuzzedDataProvider& input, const Record& record)
{
    std::string bytes(reinterpret_cast<const char*>(&record), sizeof record);
    for (int i = input.ConsumeIntegralInRange(0, 5); i > 0; --i) {
        const auto word = input.ConsumeBool() ? input.ConsumeIntegralInRange<uint32_t>(0, 150)
                                              : input.ConsumeIntegral<uint32_t>();
        const size_t last = bytes.size() / sizeof word - 1;
        std::memcpy(&bytes[input.ConsumeIntegralInRange<size_t>(0, last) * sizeof word], &word, sizeof word);
    }
    return bytes;
}

std::string Message(FuzzedDataProvider& input, uint16_t number, bool isStep = false)
{
    VeskVideoMsgHead head{};
    head.msgId = number;
    head.ulParam1 = input.ConsumeIntegralInRange<uint32_t>(0, 5);
    std::string payload;
    if (number == VESK_CONTROL_FAULT_ADD) {
        VeskControlFault fault{};
        fault.match.number = input.ConsumeBool() ? ~0U : input.PickValueInArray(kNumbers);
        fault.effect = input.ConsumeIntegralInRange<uint32_t>(1, 9);
        fault.value = fault.effect == VESK_CONTROL_EFFECT_DELAY ? 3 : 0;
        payload = Varied(input, fault);
    } else if (number == VESK_CONTROL_NOTIFY) {
        payload = Varied(input, VeskControlNotification{"", VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, 0, 0});
        payload.resize(payload.size() + head.ulParam1);
    } else if (number == VESK_VIDEO_MSG_INIT) {
        payload = Varied(input, VeskVideoInitInfo{"one", "VAPI"});
    }
    while (number == VESK_CONTROL_SCENARIO && !isStep && payload.size() < 20'000 && input.ConsumeBool()) {
        VeskControlStep step{};
        const std::string message = Message(input, input.PickValueInArray(kNumbers), true);
        step.trigger = input.ConsumeBool() ? VESK_CONTROL_AT_TIME : VESK_CONTROL_AT_MATCH;
        step.dataLen = static_cast<uint32_t>(message.size());
        step.nth = step.atMs = input.ConsumeIntegralInRange<uint64_t>(0, 3);
        step.match.number = ~0U;
        payload += Varied(input, step) + message;
        payload.resize((payload.size() + 7) / 8 * 8);
    }
    return std::string(reinterpret_cast<const char*>(&head), sizeof head) + payload;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    RuntimeDir();
    FuzzedDataProvider input(bytes, size);
    g_owed.clear();
    service::Service service({"VIDEO", "VCTL"}, service::DefaultDevice(), {.isStep = true});
    service.faults.die = [] {};
    for (uint64_t now = 0; input.remaining_bytes() != 0; now = service.timeline.Now()) {
        OsMsgEnvelope envelope{};
        envelope.msgId = input.PickValueInArray(kNumbers);
        std::string data = Message(input, static_cast<uint16_t>(envelope.msgId));
        envelope.type = input.ConsumeIntegralInRange(0, 7) != 0 ? OS_MSG_SYNCHRONOUS : OS_MSG_ASYNCHRONOUS;
        std::strcpy(envelope.sendProcName, input.ConsumeBool() ? "one" : "other");
        std::strcpy(envelope.sendTaskName, "VAPI");
        envelope.dataLen = static_cast<uint32_t>(data.size());
        envelope.data = data.data();
        g_outcomes = 0;
        service.Handle(envelope);
        CHECK(service.timeline.Now() >= now);
    }
    return 0;
}
