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
int g_outcomes; // of the message in hand: answers, and answers put off

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
    CHECK(messages::FindAnyNotification(sent->msgId) != nullptr &&
          sent->dataLen <= VESK_VIDEO_MAX_MESSAGE_SIZE);
    return sent->dataLen % 3 == 0 ? HOST_MSG_ERR_FULL : 0;
}

namespace {

constexpr uint32_t kNumbers[] = {VESK_VIDEO_MSG_INIT,         VESK_VIDEO_MSG_EXIT,
                                 VESK_VIDEO_MSG_OPEN_VO_PORT, VESK_VIDEO_MSG_VO_START,
                                 VESK_VIDEO_MSG_GET_VO_COUNT, VESK_VIDEO_MSG_DEC_CREATE,
                                 VESK_CONTROL_NOTIFY,         VESK_CONTROL_FAULT_ADD,
                                 VESK_CONTROL_FAULT_LIST,     VESK_CONTROL_FAULT_CLEAR,
                                 VESK_CONTROL_TIME,           VESK_CONTROL_SCENARIO,
                                 VESK_CONTROL_WATCH,          VESK_CONTROL_TICK};
constexpr uint32_t kNotified[] = {VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY,
                                  VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY};

class Maker {
public:
    explicit Maker(FuzzedDataProvider& input) : input_(input) {}

    /// The data block of a message; scenarios do not hold others.
    std::string Message(uint32_t number, bool isStep = false)
    {
        const VeskVideoMsgHead head{0, static_cast<uint16_t>(number), 0, Small(), 0, 0};
        std::string payload;
        if (number == VESK_CONTROL_FAULT_ADD)
            Append(payload, Fault());
        else if (number == VESK_CONTROL_NOTIFY)
            Append(payload, VeskControlNotification{"", Number(), 0, Small()});
        else if (number == VESK_CONTROL_SCENARIO && !isStep)
            payload = Scenario();
        else if (number == VESK_VIDEO_MSG_INIT)
            Append(payload, VeskVideoInitInfo{"one", "VAPI"});
        std::string message;
        Append(message, head);
        message += payload;
        if (Rarely()) // a wrong byte, another length
            message[input_.ConsumeIntegralInRange<size_t>(0, message.size() - 1)] =
                input_.ConsumeIntegral<char>();
        if (Rarely() || number == VESK_CONTROL_NOTIFY)
            message.resize(message.size() + Small());
        else if (Rarely())
            message.resize(input_.ConsumeIntegralInRange<size_t>(0, message.size()));
        return message;
    }

    uint32_t Number()
    {
        return input_.ConsumeBool() ? input_.PickValueInArray(kNumbers) : input_.PickValueInArray(kNotified);
    }

private:
    bool Rarely() { return input_.ConsumeIntegralInRange(0, 15) == 0; }
    uint32_t Small() { return input_.ConsumeIntegralInRange<uint32_t>(0, 5); }

    template <class Record>
    static void Append(std::string& bytes, const Record& record)
    {
        bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
    }

    VeskControlMatch Match()
    {
        VeskControlMatch match{};
        match.kind = input_.ConsumeIntegralInRange<uint32_t>(0, 2);
        match.number = input_.ConsumeBool() ? ~0U : Number();
        if (input_.ConsumeBool())
            std::strcpy(match.procName, "one");
        match.conditions = Rarely() ? Small() : 0;
        for (VeskControlCondition& condition : match.condition)
            condition.size = 1;
        match.condition[0].offset = input_.ConsumeIntegral<uint32_t>();
        return match;
    }

    VeskControlFault Fault()
    {
        VeskControlFault fault{};
        fault.match = Match();
        fault.effect = input_.ConsumeIntegralInRange<uint32_t>(0, 10);
        fault.isRelative = input_.ConsumeBool() ? 1 : 0;
        fault.value = input_.ConsumeBool() ? input_.ConsumeIntegralInRange<int64_t>(-30, 60) : 0;
        if (Rarely())
            fault.value = input_.ConsumeIntegral<int64_t>();
        fault.after = Small();
        fault.every = Small();
        fault.count = Small();
        fault.percent = input_.ConsumeIntegralInRange<uint32_t>(0, 100);
        return fault;
    }

    std::string Scenario()
    {
        std::string steps;
        while (steps.size() < 20'000 && input_.ConsumeBool()) {
            VeskControlStep step{};
            const std::string message = Message(Number(), true);
            step.trigger = input_.ConsumeBool() ? VESK_CONTROL_AT_TIME : VESK_CONTROL_AT_MATCH;
            step.dataLen = static_cast<uint32_t>(message.size());
            step.atMs = Small();
            step.nth = Small();
            step.match = Match();
            Append(steps, step);
            steps += message;
            steps.resize((steps.size() + 7) / 8 * 8);
        }
        return steps;
    }

    FuzzedDataProvider& input_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    RuntimeDir();
    FuzzedDataProvider input(bytes, size);
    Maker maker(input);
    g_owed.clear();
    {
        service::Service service({"VIDEO", "VCTL"}, service::DefaultDevice(), {.isStep = true});
        service.faults.die = [] {};
        uint64_t now = 0;
        while (input.remaining_bytes() != 0) {
            const uint32_t number = input.PickValueInArray(kNumbers);
            std::string data = maker.Message(number);
            OsMsgEnvelope envelope{};
            envelope.type =
                input.ConsumeIntegralInRange<uint32_t>(0, 7) != 0 ? OS_MSG_SYNCHRONOUS : OS_MSG_ASYNCHRONOUS;
            envelope.msgId = number;
            std::strcpy(envelope.sendProcName, input.ConsumeBool() ? "one" : "other");
            std::strcpy(envelope.sendTaskName, "VAPI");
            envelope.dataLen = static_cast<uint32_t>(data.size());
            envelope.data = data.data();
            g_outcomes = 0;
            service.Handle(envelope);
            CHECK(service.timeline.Now() >= now);
            now = service.timeline.Now();
        }
    }
    return 0;
}
