// The virtual service steered and broken on command.
#include "service/service_fixture.h"
#include "vesk_service/control_list.h"

#include <atomic>
#include <cstring>
#include <thread>

#include <sys/wait.h>

namespace {

/// What came of a message: the platform's result, and the answer's data block.
struct Outcome {
    uint32_t platform = 0;
    std::string data;

    uint16_t Result() const
    {
        VeskVideoMsgHead head{};
        data.copy(reinterpret_cast<char*>(&head), sizeof head);
        return head.uwSubMsgID;
    }
    std::string Payload() const { return data.substr(std::min(data.size(), sizeof(VeskVideoMsgHead))); }
    template <class Record>
    Record As() const
    {
        Record record{};
        EXPECT_EQ(Payload().size(), sizeof record);
        Payload().copy(reinterpret_cast<char*>(&record), sizeof record);
        return record;
    }
};

template <class Record>
std::string BytesOf(const Record& record)
{
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

std::string MessageOf(uint16_t number, uint64_t param1 = 0, const std::string& payload = "")
{
    return BytesOf(VeskVideoMsgHead{0, number, 0, param1, 0, 0}) + payload;
}

OsMsgEnvelope To(const char* sender, std::string& message)
{
    OsMsgEnvelope envelope{0, {}, 0, {}, "WATCH", 0, 0, "VIDEO", "VCTL"};
    std::strncpy(envelope.sendProcName, sender, sizeof envelope.sendProcName);
    VeskVideoMsgHead head;
    message.copy(reinterpret_cast<char*>(&head), sizeof head);
    envelope.msgId = head.msgId;
    envelope.dataLen = static_cast<uint32_t>(message.size());
    envelope.data = message.data();
    return envelope;
}

/// Sends a message as @p sender.
Outcome Send(const char* sender, std::string message, uint32_t timeoutMs = 5000)
{
    OsMsgEnvelope envelope = To(sender, message);
    OsMsgEnvelope* response = nullptr;
    Outcome outcome{OsMsgSynSend(&envelope, &response, timeoutMs), ""};
    if (outcome.platform == 0) {
        outcome.data.assign(static_cast<const char*>(response->data), response->dataLen);
        OsMsgSynRespFree(response);
    }
    return outcome;
}

Outcome Steer(uint16_t number, uint64_t param1 = 0, const std::string& payload = "")
{
    return Send("steering", MessageOf(number, param1, payload));
}

/// Moves the time on and says how much is still due.
uint64_t Advance(uint64_t ms)
{
    return Steer(VESK_CONTROL_TIME, ms).As<VeskControlTime>().due;
}

VeskControlMatch Of(uint32_t number, const char* procName = "")
{
    VeskControlMatch match{VESK_CONTROL_ANY, number};
    std::strncpy(match.procName, procName, sizeof match.procName);
    return match;
}

VeskControlFault Rule(uint32_t number, uint32_t effect, int64_t value = 0, bool isRelative = false)
{
    return {Of(number), effect, isRelative ? 1U : 0U, value};
}

uint32_t Add(const VeskControlFault& rule)
{
    const Outcome outcome = Steer(VESK_CONTROL_FAULT_ADD, 0, BytesOf(rule));
    EXPECT_EQ(outcome.Result(), 0);
    return outcome.As<uint32_t>();
}

/// A step's control message and what it waits for, as a scenario carries them.
std::string Step(VeskControlStep when, const std::string& message)
{
    when.dataLen = static_cast<uint32_t>(message.size());
    std::string step = BytesOf(when) + message;
    step.resize((step.size() + 7) / 8 * 8);
    return step;
}

std::string Notify(uint32_t notifyId, const std::string& payload = "", const char* procName = "")
{
    VeskControlNotification notification{"", notifyId, 7, 8};
    std::strncpy(notification.procName, procName, sizeof notification.procName);
    return MessageOf(VESK_CONTROL_NOTIFY, 0, BytesOf(notification) + payload);
}

VeskControlStep At(uint64_t ms)
{
    return {VESK_CONTROL_AT_TIME, 0, ms};
}

VeskControlStep AtMatch(uint64_t nth, const VeskControlMatch& match)
{
    return {VESK_CONTROL_AT_MATCH, 0, 0, nth, match};
}

constexpr uint16_t kCount = VESK_VIDEO_MSG_GET_VO_COUNT;
constexpr uint32_t kTold = VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY; // nothing else sends it here
constexpr uint32_t kMost = VESK_VIDEO_MAX_MESSAGE_SIZE;
constexpr size_t kHead = sizeof(VeskVideoMsgHead);

struct Stepped : VideoService {
    Stepped() : VideoService("--step") {}
};

} // namespace

// What a caller gets, and that another one gets the true answer meanwhile.
FORKED_TEST(Stepped, FaultsChangeAnswers)
{
    const std::string answer = Send("other", MessageOf(kCount)).data;
    ASSERT_EQ(answer.size(), kHead + 4);
    const auto zeros = [](size_t count) { return std::string(count, '\0'); };
    std::string refusal = MessageOf(kCount);
    refusal[6] = 0x34;
    refusal[7] = 0x12;
    struct Case {
        std::vector<VeskControlFault> rules;
        uint32_t platform;
        std::string data;
        uint64_t afterMs = 0;
    };
    const auto rule = [](uint32_t effect, int64_t value = 0, bool isRelative = false) {
        return Rule(kCount, effect, value, isRelative);
    };
    const auto result = rule(VESK_CONTROL_EFFECT_RESULT, 0x1234);
    const auto close = rule(VESK_CONTROL_EFFECT_CLOSE), silence = rule(VESK_CONTROL_EFFECT_NO_ANSWER);
    const auto delay = rule(VESK_CONTROL_EFFECT_DELAY, 200);
    const auto longer = rule(VESK_CONTROL_EFFECT_LENGTH, 4, true);
    const Case cases[] = {
        {{result}, 0, refusal},
        {{result, longer}, 0, refusal + zeros(4)},
        {{rule(VESK_CONTROL_EFFECT_LENGTH, 0)}, 0, ""},
        {{rule(VESK_CONTROL_EFFECT_LENGTH, kHead)}, 0, answer.substr(0, kHead)},
        {{rule(VESK_CONTROL_EFFECT_LENGTH, -5, true)}, 0, answer.substr(0, kHead - 1)},
        {{rule(VESK_CONTROL_EFFECT_LENGTH, -1000, true), longer}, 0, zeros(4)},
        {{rule(VESK_CONTROL_EFFECT_LENGTH, kMost), longer}, 0, answer + zeros(kMost - answer.size())},
        {{close}, HOST_MSG_ERR_BROKEN, ""},
        {{silence}, HOST_MSG_ERR_TIMEOUT, ""},
        {{delay}, 0, answer, 200},
        {{delay, longer, delay, result}, 0, refusal + zeros(4), 400},
        {{delay, close}, HOST_MSG_ERR_BROKEN, "", 200},
        {{delay, silence}, HOST_MSG_ERR_TIMEOUT, ""},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        for (VeskControlFault fault : expected.rules) {
            fault.match = Of(kCount, "caller");
            Add(fault);
        }
        const bool isLost = expected.platform == HOST_MSG_ERR_TIMEOUT;
        std::atomic<bool> hasReturned = false;
        std::thread caller([&] {
            const Outcome outcome = Send("caller", MessageOf(kCount), isLost ? 50 : 5000);
            EXPECT_EQ(outcome.platform, expected.platform);
            EXPECT_EQ(outcome.data, expected.data);
            hasReturned = true;
        });
        if (expected.afterMs != 0) {
            EXPECT_TRUE(Eventually([] { return Advance(0) == 1; }));
            EXPECT_EQ(Advance(expected.afterMs - 1), 1U);
            EXPECT_EQ(Send("other", MessageOf(kCount)).data, answer);
            EXPECT_FALSE(hasReturned);
            EXPECT_EQ(Advance(1), 0U);
        }
        caller.join();
        EXPECT_EQ(Send("caller", MessageOf(VESK_VIDEO_MSG_GET_VI_COUNT)).data.size(), answer.size());
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_CLEAR).Result(), 0);
    }
}

// A request that is answered late, closed or not at all is served at once; one with another result is not.
FORKED_TEST(Stepped, NotificationsKeepTheirPlaceAfterALateAnswer)
{
    Play("OPEN_VO_PORT 0 = 1");
    const uint32_t refused = Add(Rule(VESK_VIDEO_MSG_VO_CLOSE, VESK_CONTROL_EFFECT_RESULT, 0));
    Play("VO_CLOSE 1; VO_START 1");
    EXPECT_EQ(Steer(VESK_CONTROL_FAULT_CLEAR, refused).Result(), 0);
    Add(Rule(VESK_VIDEO_MSG_VO_CLOSE, VESK_CONTROL_EFFECT_DELAY, 100));
    std::thread caller(
        [] { EXPECT_EQ(Send("test-app", MessageOf(VESK_VIDEO_MSG_VO_CLOSE, 1)).Result(), 0); });
    EXPECT_TRUE(Eventually([] { return Advance(0) == 1; }));
    Play("VO_STOP 1 !NUMBER"); // it is closed
    Steer(VESK_CONTROL_NOTIFY, 0, Notify(kTold).substr(kHead));
    Arrived(kTold);
    EXPECT_EQ(Advance(100), 0U);
    Arrived(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY);
    EXPECT_TRUE(Seen().ends_with("109 108 ")) << Seen();
    caller.join();
}

FORKED_TEST(Stepped, FaultsChangeNotifications)
{
    const auto rule = [](uint32_t effect, int64_t value = 0, bool isRelative = false) {
        return Rule(kTold, effect, value, isRelative);
    };
    const auto twice = rule(VESK_CONTROL_EFFECT_DUPLICATE), drop = rule(VESK_CONTROL_EFFECT_DROP);
    const auto delay = rule(VESK_CONTROL_EFFECT_DELAY, 30);
    const auto longer = rule(VESK_CONTROL_EFFECT_LENGTH, 2, true);
    VeskControlFault others = drop;
    others.match = Of(kTold, "other");
    VeskControlFault first = drop; // whose first byte is that of another text
    first.match.conditions = 1;
    first.match.condition[0] = {kHead, 1, {'y'}};
    struct Case {
        std::vector<VeskControlFault> rules;
        std::vector<std::string> arrive;
        uint32_t sent = 1;
    };
    const Case cases[] = {
        {{others, first}, {"xyz"}},
        {{twice, twice}, {"xyz", "xyz", "xyz"}},
        {{drop, twice}, {}, 0},
        {{longer, twice}, {std::string("xyz\0\0", 5), std::string("xyz\0\0", 5)}},
        {{rule(VESK_CONTROL_EFFECT_LENGTH, kHead + 1)}, {"x"}},
        {{rule(VESK_CONTROL_EFFECT_LENGTH, kHead - 1)}, {}}, // the library drops it
        {{delay, twice}, {"xyz", "xyz"}},
    };
    size_t told = 0;
    for (const Case& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        for (const VeskControlFault& fault : expected.rules)
            Add(fault);
        EXPECT_EQ(Send("steering", Notify(kTold, "xyz", "test-app")).As<uint32_t>(), expected.sent);
        Advance(30);
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_CLEAR).Result(), 0);
        EXPECT_EQ(Send("steering", Notify(kTold, "end")).As<uint32_t>(), 1U);
        const std::vector<std::string> arrived = Arrived(kTold, told + expected.arrive.size() + 1);
        ASSERT_EQ(arrived.size(), told + expected.arrive.size() + 1);
        EXPECT_TRUE(std::equal(expected.arrive.begin(), expected.arrive.end(),
                               arrived.begin() + static_cast<ptrdiff_t>(told)));
        told = arrived.size();
    }
    // What waits is bounded.
    Add(delay);
    const std::string large(kMost - kHead - sizeof(VeskControlNotification), 'z');
    size_t late = 0;
    while (late < 100 && Send("steering", Notify(kTold, large)).As<uint32_t>() == 1)
        ++late;
    EXPECT_EQ(late, 15U);
}

// X: hit.
FORKED_TEST(Stepped, ARuleHitsTheSameMessagesAgain)
{
    const auto hits = [](const VeskControlFault& rule, size_t calls) {
        const uint32_t fault = Add(rule);
        std::string hit;
        for (size_t i = 0; i < calls; ++i)
            hit += Send("caller", MessageOf(kCount)).Result() == 9 ? 'X' : '.';
        const Outcome listed = Steer(VESK_CONTROL_FAULT_LIST);
        const auto state = listed.As<VeskControlFaultState>();
        EXPECT_EQ(state.fault, fault);
        EXPECT_EQ(state.matches, calls);
        EXPECT_EQ(state.hits, static_cast<size_t>(std::count(hit.begin(), hit.end(), 'X')));
        EXPECT_EQ(BytesOf(state.rule), BytesOf(rule));
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_CLEAR, fault).Result(), 0);
        return hit;
    };
    auto rule = Rule(kCount, VESK_CONTROL_EFFECT_RESULT, 9);
    EXPECT_EQ(hits(rule, 3), "XXX");
    rule.count = 2;
    EXPECT_EQ(hits(rule, 4), "XX..");
    rule.after = 2;
    rule.every = 3;
    EXPECT_EQ(hits(rule, 12), "....X..X....");
    rule.after = rule.count = 0;
    rule.every = 2;
    rule.percent = 50;
    rule.seed = 11;
    const std::string chances = hits(rule, 100);
    EXPECT_EQ(hits(rule, 100), chances);
    rule.seed = 12;
    EXPECT_NE(hits(rule, 100), chances);
    const auto count = std::count(chances.begin(), chances.end(), 'X');
    EXPECT_TRUE(count > 10 && count < 40) << chances;

    auto garbage = Rule(kCount, VESK_CONTROL_EFFECT_GARBAGE);
    std::vector<std::string> answers;
    for (const uint64_t seed : {1U, 1U, 2U}) {
        garbage.seed = seed;
        Add(garbage);
        for (int i = 0; i < 2; ++i)
            answers.push_back(Send("caller", MessageOf(kCount)).data);
        Steer(VESK_CONTROL_FAULT_CLEAR);
    }
    EXPECT_EQ(answers[0], answers[2]);
    EXPECT_EQ(answers[1], answers[3]);
    const std::set<std::string> different(answers.begin(), answers.end());
    EXPECT_EQ(different.size(), 4U);
}

// Each is right but for one thing, and leaves what there was.
FORKED_TEST(Stepped, MalformedSteeringIsRefusedAndChangesNothing)
{
    const auto rule = [](const std::function<void(VeskControlFault&)>& change) {
        VeskControlFault fault = Rule(kCount, VESK_CONTROL_EFFECT_DELAY, 1);
        change(fault);
        return MessageOf(VESK_CONTROL_FAULT_ADD, 0, BytesOf(fault));
    };
    const auto effect = [&](uint32_t kind, uint32_t which, int64_t value, bool isRelative = false) {
        return rule([=](auto& fault) {
            fault = Rule(kCount, which, value, isRelative);
            fault.match.kind = kind;
        });
    };
    const auto condition = [&](uint32_t offset, uint32_t size) {
        return rule([=](auto& fault) {
            fault.match.conditions = 1;
            fault.match.condition[0] = {offset, size};
        });
    };
    const auto scenario = [](const std::string& last) {
        return MessageOf(VESK_CONTROL_SCENARIO, 0, Step(At(0), MessageOf(VESK_CONTROL_FAULT_CLEAR)) + last);
    };
    const std::string inner = MessageOf(VESK_CONTROL_FAULT_LIST);
    VeskControlMatch malformed = Of(kCount);
    malformed.kind = 3;
    std::string many;
    for (int i = 0; i < VESK_CONTROL_MAX_STEPS; ++i)
        many += Step(At(1), inner);
    const auto request = VESK_CONTROL_OF_REQUEST, notification = VESK_CONTROL_OF_NOTIFICATION;
    const std::pair<std::string, uint32_t> cases[] = {
        {rule([](auto& fault) { fault.match.kind = 3; }), VESK_SERVICE_ERR_VALUE},
        {rule([](auto& fault) { fault.match.number = VESK_CONTROL_TIME; }), VESK_SERVICE_ERR_VALUE},
        {rule([](auto& fault) { std::memset(fault.match.procName, 'x', 16); }), VESK_SERVICE_ERR_VALUE},
        {rule([](auto& fault) { fault.match.conditions = 9; }), VESK_SERVICE_ERR_VALUE},
        {rule([](auto& fault) { fault.match.conditions = ~0U; }), VESK_SERVICE_ERR_VALUE},
        {condition(0, 0), VESK_SERVICE_ERR_VALUE},
        {condition(0, 57), VESK_SERVICE_ERR_VALUE},
        {condition(kMost, 1), VESK_SERVICE_ERR_VALUE},
        {condition(~0U, 2), VESK_SERVICE_ERR_VALUE},
        {effect(0, 0, 0), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_DIE + 1, 0), VESK_SERVICE_ERR_VALUE},
        {effect(request, VESK_CONTROL_EFFECT_DROP, 0), VESK_SERVICE_ERR_VALUE},
        {effect(notification, VESK_CONTROL_EFFECT_CLOSE, 0), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_RESULT, -1), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_RESULT, 0x10000), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_DELAY, 86'400'001), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_DELAY, 1, true), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_LENGTH, -1), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_LENGTH, int64_t{kMost} + 1, true), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_LENGTH, INT64_MIN, true), VESK_SERVICE_ERR_VALUE},
        {effect(0, VESK_CONTROL_EFFECT_GARBAGE, 1), VESK_SERVICE_ERR_VALUE},
        {rule([](auto& fault) { fault.percent = 101; }), VESK_SERVICE_ERR_VALUE},
        {rule([](auto&) {}).substr(0, 100), VESK_SERVICE_ERR_LENGTH},
        {MessageOf(VESK_CONTROL_FAULT_CLEAR, 99), VESK_SERVICE_ERR_NUMBER},
        {Notify(0x4100), VESK_SERVICE_ERR_VALUE},
        {Notify(kTold, "", "nobody"), VESK_SERVICE_ERR_NUMBER},
        {Notify(kTold).substr(0, kHead + 31), VESK_SERVICE_ERR_LENGTH},
        {scenario("x"), VESK_SERVICE_ERR_LENGTH},
        {scenario(BytesOf(At(0))), VESK_SERVICE_ERR_LENGTH},
        {scenario(Step(At(0), inner.substr(1))), VESK_SERVICE_ERR_LENGTH},
        {scenario(Step(At(0), inner + 'x').substr(0, sizeof(VeskControlStep) + kHead + 1)),
         VESK_SERVICE_ERR_LENGTH},
        {scenario(Step(At(0), inner + "too much")), VESK_SERVICE_ERR_LENGTH},
        {scenario(BytesOf(VeskControlStep{0, ~0U}) + inner), VESK_SERVICE_ERR_LENGTH},
        {scenario(Step({2}, inner)), VESK_SERVICE_ERR_VALUE},
        {scenario(Step(AtMatch(0, Of(kCount)), inner)), VESK_SERVICE_ERR_VALUE},
        {scenario(Step(AtMatch(1, malformed), inner)), VESK_SERVICE_ERR_VALUE},
        {scenario(Step(At(0), MessageOf(kCount))), VESK_SERVICE_ERR_VALUE},
        {scenario(Step(At(0), MessageOf(0x4abc))), VESK_SERVICE_ERR_VALUE},
        {scenario(Step(At(0), MessageOf(VESK_CONTROL_SCENARIO))), VESK_SERVICE_ERR_VALUE},
        {scenario(Step(At(0), MessageOf(VESK_CONTROL_WATCH, 1))), VESK_SERVICE_ERR_VALUE},
        {scenario(many), VESK_SERVICE_ERR_ROOM},
        {MessageOf(VESK_CONTROL_TICK), VESK_SERVICE_ERR_REQUEST},
    };
    const uint32_t kept = Add(Rule(kCount, VESK_CONTROL_EFFECT_LENGTH, -int64_t{kMost}, true));
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, Step(At(50), inner)).Result(), 0);
    for (const auto& [message, refusal] : cases) {
        SCOPED_TRACE(&message - &cases[0].first);
        EXPECT_EQ(Send("steering", message).Result(), refusal);
        EXPECT_EQ(Advance(0), 1U);
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_LIST).As<VeskControlFaultState>().fault, kept);
    }
    for (int i = 1; i < VESK_CONTROL_MAX_FAULTS; ++i)
        Add(Rule(kCount, VESK_CONTROL_EFFECT_DIE));
    EXPECT_EQ(Send("steering", effect(0, VESK_CONTROL_EFFECT_DIE, 0)).Result(), VESK_SERVICE_ERR_ROOM);
}

// Steps tell by their notification's text.
FORKED_TEST(Stepped, AScenarioRunsAtItsTimesAndMatches)
{
    const auto tell = [](const char* text) { return Notify(kTold, text); };
    auto told = [seen = size_t{0}]() mutable {
        Send("steering", Notify(kTold, "|"));
        std::string text;
        while (text.empty() || text.back() != '|')
            text += Arrived(kTold, seen + 1).at(seen), ++seen;
        return text;
    };
    std::string steps = Step(At(20), tell("c")) + Step(At(10), tell("a")) + Step(At(20), tell("d")) +
                        Step(At(10), tell("b")) + Step(At(0), tell("0")) +
                        Step(At(15), Notify(kTold, "nobody", "nobody")) + // fails
                        Step(At(30), MessageOf(VESK_CONTROL_TIME, 12)) + Step(At(41), tell("f")) +
                        Step(At(43), tell("g"));
    EXPECT_EQ(Steer(VESK_CONTROL_TIME, 1000).As<VeskControlTime>().nowMs, 1000U);
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, steps).Result(), 0);
    EXPECT_EQ(told(), "0|");
    EXPECT_EQ(Advance(9), 8U);
    EXPECT_EQ(told(), "|");
    EXPECT_EQ(Advance(16), 3U);
    EXPECT_EQ(told(), "abcd|");
    EXPECT_EQ(Advance(5), 1U); // to 30, where a step goes on to 42
    EXPECT_EQ(told(), "f|");
    EXPECT_EQ(Steer(VESK_CONTROL_TIME).As<VeskControlTime>().nowMs, 1042U);

    // Before the message is served or sent; what a step sends counts as well.
    VeskControlMatch hello = Of(kTold, "test-app");
    hello.conditions = 1;
    hello.condition[0] = {kHead, 2, {'h', 'i'}};
    steps = Step(AtMatch(2, Of(kCount, "caller")),
                 MessageOf(VESK_CONTROL_FAULT_ADD, 0, BytesOf(Rule(kCount, VESK_CONTROL_EFFECT_RESULT, 5)))) +
            Step(AtMatch(2, Of(kCount, "caller")), tell("hi!")) + Step(AtMatch(1, hello), tell("before")) +
            Step(AtMatch(2, hello), tell("not yet"));
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, steps).Result(), 0);
    EXPECT_EQ(Advance(0), 0U); // the earlier one is gone
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 0);
    EXPECT_EQ(Send("other", MessageOf(kCount)).Result(), 0);
    EXPECT_EQ(told(), "|");
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 5);
    EXPECT_EQ(told(), "beforehi!|");

    // However many of them follow from one another.
    steps.clear();
    for (int i = 0; i < VESK_CONTROL_MAX_STEPS; ++i)
        steps += Step(AtMatch(static_cast<uint64_t>(i) + 1, Of(kTold)), tell("."));
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, steps).Result(), 0);
    const std::string nested = told();
    EXPECT_GT(nested.size(), 4U);
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO).Result(), 0);
    EXPECT_EQ(told(), "|");
}

FORKED_TEST(Stepped, AResetEndsWhatWasSteered)
{
    Add(Rule(kCount, VESK_CONTROL_EFFECT_DELAY, 10));
    std::thread caller([] { EXPECT_EQ(Send("caller", MessageOf(kCount)).platform, HOST_MSG_ERR_BROKEN); });
    EXPECT_TRUE(Eventually([] { return Advance(0) == 1; }));
    Steer(VESK_CONTROL_SCENARIO, 0, Step(At(5), Notify(kTold)) + Step(AtMatch(1, Of(kCount)), Notify(kTold)));
    EXPECT_EQ(Steer(VESK_CONTROL_RESET).Result(), 0);
    caller.join();
    EXPECT_EQ(Advance(10), 0U);
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 0);
    Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
    EXPECT_TRUE(Seen().ends_with("206 207 ")) << Seen();
    EXPECT_EQ(Add(Rule(kCount, VESK_CONTROL_EFFECT_CLOSE)), 1U);
}

// A step does what its message would do, with its notifications.
FORKED_TEST(Stepped, AStepPullsACable)
{
    const std::string pull = MessageOf(VESK_CONTROL_UNPLUG, 0); // the camera
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, Step(At(5), pull)).Result(), 0);
    Play("OPEN_VI_PORT 0 = 1");
    Advance(5);
    Play("VI_START 1 !UNPLUGGED");
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, 4).size(), 4U);
}

FORKED_TEST(Stepped, ARuleEndsTheServiceBeforeItServes)
{
    Add(Rule(VESK_VIDEO_MSG_DEC_CREATE, VESK_CONTROL_EFFECT_DIE));
    EXPECT_EQ(Send("caller", MessageOf(VESK_VIDEO_MSG_DEC_CREATE)).platform, HOST_MSG_ERR_BROKEN);
    EXPECT_EQ(service.Wait(), 3);
    EXPECT_EQ(Seen().find("206"), std::string::npos);
    service = StartService();
    Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
}

// With the clock, nothing else wakes the service up.
struct FastClock : VideoService {
    FastClock() : VideoService("--time-scale", "100") {}
};
FORKED_TEST(FastClock, WhatIsDueIsDoneInTime)
{
    EXPECT_EQ(Steer(VESK_CONTROL_TIME, 1).Result(), VESK_SERVICE_ERR_STATE);
    Add(Rule(kCount, VESK_CONTROL_EFFECT_DELAY, 20'000));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 0);
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_TRUE(passed >= std::chrono::milliseconds(200) && passed < std::chrono::seconds(2));
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0,
                    Step(At(1000), Notify(kTold, "x")) + Step(At(3000), Notify(kTold, "y")))
                  .Result(),
              0);
    EXPECT_EQ(Arrived(kTold, 2), (std::vector<std::string>{"x", "y"}));
}

namespace {

std::mutex g_watching;
std::vector<VeskControlMessage> g_shown;
std::string g_shownBytes; // of the last

uint32_t OnShown(OsMsgEnvelope* message)
{
    const std::lock_guard guard(g_watching);
    const std::string data(static_cast<const char*>(message->data), message->dataLen);
    VeskControlMessage shown{};
    data.copy(reinterpret_cast<char*>(&shown), sizeof shown, kHead);
    g_shown.push_back(shown);
    g_shownBytes = data.substr(kHead + sizeof shown);
    return 0;
}

VeskControlMessage Shown(size_t nth)
{
    EXPECT_TRUE(Eventually([=] {
        const std::lock_guard guard(g_watching);
        return g_shown.size() > nth;
    }));
    const std::lock_guard guard(g_watching);
    return g_shown.size() > nth ? g_shown[nth] : VeskControlMessage{};
}

} // namespace

FORKED_TEST(Stepped, AWatcherSeesEveryMessageOrHowManyItLost)
{
    EXPECT_EQ(Send("", MessageOf(VESK_CONTROL_WATCH, 1)).Result(), VESK_SERVICE_ERR_VALUE);
    ASSERT_EQ(OsMsgRegTask("WATCH", 4, OnShown), 0U);
    std::thread([] { OsMsgTaskRoutineByName("WATCH"); }).detach();
    Send("other", MessageOf(kCount));
    EXPECT_EQ(Steer(VESK_CONTROL_WATCH, 1).Result(), 0);
    const std::string answer = Send("other", MessageOf(kCount)).data;
    const VeskControlMessage asked = Shown(0), answered = Shown(1);
    EXPECT_EQ(g_shownBytes, answer);
    EXPECT_EQ(asked.kind, VESK_CONTROL_SAW_REQUEST);
    EXPECT_EQ(answered.kind, VESK_CONTROL_SAW_ANSWER);
    EXPECT_EQ(answered.exchange, asked.exchange);
    EXPECT_GT(answered.durationNs, 0U);
    for (const VeskControlMessage& shown : {asked, answered}) {
        EXPECT_EQ(shown.number, kCount);
        EXPECT_STREQ(shown.procName, "other");
        EXPECT_STREQ(shown.taskName, "WATCH");
        EXPECT_EQ(shown.process, static_cast<uint32_t>(getpid()));
    }
    EXPECT_EQ(asked.dataLen, kHead);
    EXPECT_EQ(answered.dataLen, answer.size());
    // Late, closed, and notified; what is too long for one message is cut.
    const uint32_t late = Add(Rule(kCount, VESK_CONTROL_EFFECT_DELAY, 5));
    std::thread caller([] { Send("other", MessageOf(kCount)); });
    EXPECT_EQ(Shown(2).kind, VESK_CONTROL_SAW_REQUEST);
    EXPECT_EQ(
        Send("steering", Notify(kTold, std::string(kMost - kHead - sizeof(VeskControlNotification), 'z')))
            .Result(),
        0);
    EXPECT_EQ(Shown(3).kind, VESK_CONTROL_SAW_NOTIFICATION);
    EXPECT_EQ(Shown(3).dataLen, kMost - sizeof(VeskControlNotification));
    EXPECT_STREQ(Shown(3).procName, "test-app");
    EXPECT_STREQ(Shown(3).taskName, "VAPI");
    EXPECT_EQ(g_shownBytes.size(), kMost - kHead - sizeof(VeskControlMessage));
    Advance(5);
    caller.join();
    EXPECT_EQ(Shown(4).kind, VESK_CONTROL_SAW_ANSWER);
    EXPECT_EQ(Shown(4).exchange, Shown(2).exchange);
    EXPECT_GE(Shown(4).durationNs, Shown(3).monotonicNs - Shown(2).monotonicNs);
    Steer(VESK_CONTROL_FAULT_CLEAR, late);
    Add(Rule(kCount, VESK_CONTROL_EFFECT_CLOSE));
    EXPECT_EQ(Send("other", MessageOf(kCount)).platform, HOST_MSG_ERR_BROKEN);
    EXPECT_EQ(Shown(6).kind, VESK_CONTROL_SAW_NO_ANSWER);
    EXPECT_EQ(Shown(6).exchange, Shown(5).exchange);

    // One that does not read holds nobody up.
    Steer(VESK_CONTROL_FAULT_CLEAR);
    uint64_t sent = 7, lost = 0;
    {
        const std::lock_guard guard(g_watching);
        for (int i = 0; i < 3000; ++i, sent += 2)
            ASSERT_EQ(Send("other", MessageOf(kCount)).Result(), 0);
    }
    EXPECT_TRUE(Eventually([&] {
        Send("other", MessageOf(kCount));
        sent += 2;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const std::lock_guard guard(g_watching);
        lost = g_shown.back().lost;
        return lost != 0;
    }));
    EXPECT_EQ(Steer(VESK_CONTROL_WATCH, 0).Result(), 0);
    Send("other", MessageOf(kCount));
    EXPECT_TRUE(Eventually([&] {
        const std::lock_guard guard(g_watching);
        return g_shown.size() + g_shown.back().lost == sent;
    })) << g_shown.size()
        << " of " << sent << ", " << lost << " lost";
    HostMsgEndTask("WATCH");
}
