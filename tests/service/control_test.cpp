// The virtual service steered and broken on command.
#include "service/service_fixture.h"
#include "vesk_service/control_list.h"

#include <atomic>
#include <cstring>
#include <iomanip>
#include <sstream>
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

/// Sends a message as @p sender.
Outcome Send(const std::string& sender, std::string message, uint32_t timeoutMs = 5000)
{
    OsMsgEnvelope envelope{0, {}, 0, {}, "WATCH", 0, 0, "VIDEO", "VCTL"}, *response = nullptr;
    sender.copy(envelope.sendProcName, sizeof envelope.sendProcName);
    std::memcpy(&envelope.msgId, &message[offsetof(VeskVideoMsgHead, msgId)], sizeof(uint16_t));
    envelope.dataLen = static_cast<uint32_t>(message.size());
    envelope.data = message.data();
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

constexpr uint16_t kCount = VESK_VIDEO_MSG_GET_VO_COUNT;
constexpr uint32_t kTold = VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY; // nothing else sends it here
constexpr uint32_t kMost = VESK_VIDEO_MAX_MESSAGE_SIZE;
constexpr size_t kHead = sizeof(VeskVideoMsgHead);
constexpr auto kResult = VESK_CONTROL_EFFECT_RESULT, kDelay = VESK_CONTROL_EFFECT_DELAY,
               kClose = VESK_CONTROL_EFFECT_CLOSE, kLength = VESK_CONTROL_EFFECT_LENGTH,
               kDuplicate = VESK_CONTROL_EFFECT_DUPLICATE, kDrop = VESK_CONTROL_EFFECT_DROP;

VeskControlMatch Of(uint32_t number, const std::string& procName = "", const std::string& begin = "")
{
    VeskControlMatch match{VESK_CONTROL_ANY, number};
    procName.copy(match.procName, sizeof match.procName);
    match.conditions = begin.empty() ? 0 : 1;
    match.condition[0] = {kHead, static_cast<uint32_t>(begin.size())};
    std::memcpy(match.condition[0].bytes, begin.data(), begin.size());
    return match;
}

VeskControlFault Rule(const VeskControlMatch& match, uint32_t effect, int64_t value = 0,
                      bool isRelative = false)
{
    return {match, effect, isRelative ? 1U : 0U, value};
}

uint32_t Add(const VeskControlFault& rule)
{
    return Steer(VESK_CONTROL_FAULT_ADD, 0, BytesOf(rule)).As<uint32_t>();
}

/// A step's control message and what it waits for, as a scenario carries them.
std::string Step(VeskControlStep when, const std::string& message)
{
    when.dataLen = static_cast<uint32_t>(message.size());
    std::string step = BytesOf(when) + message;
    step.resize((step.size() + 7) / 8 * 8);
    return step;
}

std::string Notify(const std::string& payload, const std::string& procName = "", uint32_t notifyId = kTold)
{
    VeskControlNotification notification{"", notifyId, 7, 8};
    procName.copy(notification.procName, sizeof notification.procName);
    return MessageOf(VESK_CONTROL_NOTIFY, 0, BytesOf(notification) + payload);
}

uint32_t Notified(const std::string& notify)
{
    return Send("steering", notify).As<uint32_t>();
}

VeskControlStep At(uint64_t ms)
{
    return {VESK_CONTROL_AT_TIME, 0, ms};
}

VeskControlStep AtMatch(uint64_t nth, const VeskControlMatch& match)
{
    return {VESK_CONTROL_AT_MATCH, 0, 0, nth, match};
}

/// What it has been told since it had seen so many, each with a bar, up to a last one that this sends.
std::string Told(size_t& seen)
{
    EXPECT_EQ(Notified(Notify("end")), 1U);
    std::string told;
    for (std::string text; text != "end"; ++seen) {
        told += text.empty() ? "" : text + '|';
        text = Arrived(kTold, seen + 1).at(seen);
    }
    return told;
}

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
    const VeskControlMatch all = Of(kCount, "caller");
    const auto result = Rule(all, kResult, 0x1234), close = Rule(all, kClose), delay = Rule(all, kDelay, 200);
    const auto silence = Rule(all, VESK_CONTROL_EFFECT_NO_ANSWER), longer = Rule(all, kLength, 4, true);
    const Case cases[] = {
        {{result, longer}, 0, refusal + zeros(4)},
        {{Rule(all, kLength, 0)}, 0, ""},
        {{Rule(all, kLength, kHead)}, 0, answer.substr(0, kHead)},
        {{Rule(all, kLength, -5, true)}, 0, answer.substr(0, kHead - 1)},
        {{Rule(all, kLength, -1000, true), longer}, 0, zeros(4)},
        {{Rule(all, kLength, kMost), longer}, 0, answer + zeros(kMost - answer.size())},
        {{close}, HOST_MSG_ERR_BROKEN, ""},
        {{silence}, HOST_MSG_ERR_TIMEOUT, ""},
        {{delay}, 0, answer, 200},
        {{delay, longer, delay, result}, 0, refusal + zeros(4), 400},
        {{delay, close}, HOST_MSG_ERR_BROKEN, "", 200},
        {{delay, silence}, HOST_MSG_ERR_TIMEOUT, ""},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        std::for_each(expected.rules.begin(), expected.rules.end(), Add);
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
    const uint32_t refused = Add(Rule(Of(VESK_VIDEO_MSG_VO_CLOSE), kResult, 0));
    Play("VO_CLOSE 1; VO_START 1");
    EXPECT_EQ(Steer(VESK_CONTROL_FAULT_CLEAR, refused).Result(), 0);
    Add(Rule(Of(VESK_VIDEO_MSG_VO_CLOSE), kDelay, 100));
    std::thread caller(
        [] { EXPECT_EQ(Send("test-app", MessageOf(VESK_VIDEO_MSG_VO_CLOSE, 1)).Result(), 0); });
    EXPECT_TRUE(Eventually([] { return Advance(0) == 1; }));
    Play("VO_STOP 1 !NUMBER"); // it is closed
    EXPECT_EQ(Notified(Notify("")), 1U);
    Arrived(kTold);
    EXPECT_EQ(Advance(100), 0U);
    Arrived(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY);
    EXPECT_TRUE(Seen().ends_with("109 108 ")) << Seen();
    caller.join();
}

FORKED_TEST(Stepped, FaultsChangeNotifications)
{
    const VeskControlMatch all = Of(kTold);
    const auto twice = Rule(all, kDuplicate), drop = Rule(all, kDrop), delay = Rule(all, kDelay, 30);
    const auto longer = Rule(all, kLength, 2, true);
    struct Case {
        std::vector<VeskControlFault> rules;
        std::string arrive;
        uint32_t sent = 1;
    };
    const Case cases[] = {
        {{Rule(Of(kTold, "other"), kDrop), Rule(Of(kTold, "", "xz"), kDrop),
          Rule(Of(kTold, "", "xyz and more"), kDrop)},
         "xyz|"},
        {{Rule(Of(kTold, "test-app", "xy"), kDrop)}, "", 0},
        {{twice, twice}, "xyz|xyz|xyz|"},
        {{drop, twice}, "", 0},
        {{longer, twice}, std::string("xyz\0\0|xyz\0\0|", 12)},
        {{Rule(all, kLength, kHead + 1)}, "x|"},
        {{Rule(all, kLength, kHead - 1)}, ""}, // the library drops it
        {{delay, twice}, "xyz|xyz|"},
    };
    for (size_t seen = 0; const Case& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        std::for_each(expected.rules.begin(), expected.rules.end(), Add);
        EXPECT_EQ(Notified(Notify("xyz", "test-app")), expected.sent);
        Advance(30);
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_CLEAR).Result(), 0);
        EXPECT_EQ(Told(seen), expected.arrive);
    }
    // What waits is bounded.
    Add(delay);
    const std::string large = Notify(std::string(kMost - kHead - sizeof(VeskControlNotification), 'z'));
    for (int late = 0; late < 15; ++late)
        EXPECT_EQ(Notified(large), 1U);
    EXPECT_EQ(Notified(large), 0U);
    Add(Rule(Of(kCount), kDelay, 30));
    Add(Rule(Of(kCount), kLength, kMost));
    EXPECT_EQ(Send("caller", MessageOf(kCount)).platform, HOST_MSG_ERR_BROKEN);
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
    auto rule = Rule(Of(kCount), kResult, 9);
    rule.count = 2;
    EXPECT_EQ(hits(rule, 4), "XX..");
    rule.after = 2;
    rule.every = 3;
    EXPECT_EQ(hits(rule, 12), "....X..X....");
    rule = Rule(Of(kCount), kResult, 9);
    rule.percent = 25;
    const std::string chances = hits(rule, 100);
    EXPECT_EQ(hits(rule, 100), chances);
    rule.seed = 1;
    EXPECT_NE(hits(rule, 100), chances);
    const auto count = std::count(chances.begin(), chances.end(), 'X');
    EXPECT_TRUE(count > 10 && count < 40) << chances;

    const auto garbage = [](uint64_t seed) {
        VeskControlFault random = Rule(Of(kCount), VESK_CONTROL_EFFECT_GARBAGE);
        random.seed = seed;
        Add(random);
        const std::string first = Send("caller", MessageOf(kCount)).data;
        const std::string second = Send("caller", MessageOf(kCount)).data;
        Steer(VESK_CONTROL_FAULT_CLEAR);
        EXPECT_NE(first, second);
        return first + second;
    };
    EXPECT_EQ(garbage(1), garbage(1));
    EXPECT_NE(garbage(1), garbage(2));
}

// Each is right but for a field or two, and leaves what there was.
FORKED_TEST(Stepped, MalformedSteeringIsRefusedAndChangesNothing)
{
    const std::string inner = MessageOf(VESK_CONTROL_FAULT_LIST);
    const uint32_t kept = Add(Rule(Of(kTold), kDrop));
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, Step(At(50), inner)).Result(), 0);
    const auto refuse = [&](const std::string& message, uint32_t refusal) {
        EXPECT_EQ(Send("steering", message).Result(), refusal);
        EXPECT_EQ(Advance(0), 1U);
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_LIST).As<VeskControlFaultState>().fault, kept);
    };
    // Fields of a rule that is right otherwise, and their 32 bits.
    const std::map<std::string, size_t> offsets = {
        {"kind", 0},     {"number", 4},     {"name", 8},    {"conditions", 24}, {"offset", 32},  {"size", 36},
        {"effect", 544}, {"relative", 548}, {"value", 552}, {"high", 556},      {"percent", 584}};
    std::istringstream rules(
        "kind 3,number 0x4008,name 1,conditions 9,conditions 1,conditions 1 size 57,"
        "conditions 1 offset 4194304 size 1,conditions 1 offset 0xffffffff size 2,effect 0,"
        "effect 10,kind 1 effect 8 value 0,kind 2 effect 4 value 0,effect 4,"
        "effect 1 value 0x10000,effect 1 high 0xffffffff,value 86400001,relative 1,percent 101,"
        "effect 5 value 4194305,effect 5 high 0xffffffff,effect 5 relative 2,"
        "effect 5 relative 1 high 0x80000000");
    for (std::string fields, field; std::getline(rules, fields, ',');) {
        SCOPED_TRACE(fields);
        std::string message = MessageOf(VESK_CONTROL_FAULT_ADD, 0, BytesOf(Rule(Of(kCount), kDelay, 1)));
        uint32_t value = 0;
        for (std::istringstream words(fields); words >> field >> std::setbase(0) >> value;)
            std::memcpy(&message[kHead + offsets.at(field)], &value, sizeof value);
        refuse(message, VESK_SERVICE_ERR_VALUE);
    }
    std::string many;
    for (int i = 0; i < VESK_CONTROL_MAX_STEPS; ++i)
        many += Step(At(1), inner);
    const std::map<uint32_t, std::vector<std::string>> steps = {
        {VESK_SERVICE_ERR_LENGTH,
         {"x", BytesOf(At(0)), Step(At(0), inner.substr(1)),
          Step(At(0), inner + 'x').substr(0, sizeof(VeskControlStep) + kHead + 1),
          Step(At(0), inner + "too much"), BytesOf(VeskControlStep{0, ~0U}) + inner}},
        {VESK_SERVICE_ERR_VALUE,
         {Step({2}, inner), Step(AtMatch(0, Of(kCount)), inner),
          Step(AtMatch(1, Of(VESK_CONTROL_TIME)), inner), Step(At(0), MessageOf(kCount)),
          Step(At(0), MessageOf(0x4abc)), Step(At(0), MessageOf(VESK_CONTROL_SCENARIO)),
          Step(At(0), MessageOf(VESK_CONTROL_WATCH, 1))}},
        {VESK_SERVICE_ERR_ROOM, {many}}};
    const std::string first = Step(At(0), MessageOf(VESK_CONTROL_FAULT_CLEAR));
    for (const auto& [refusal, lasts] : steps) {
        for (const std::string& last : lasts)
            refuse(MessageOf(VESK_CONTROL_SCENARIO, 0, first + last), refusal);
    }
    refuse(MessageOf(VESK_CONTROL_FAULT_CLEAR, 99), VESK_SERVICE_ERR_NUMBER);
    refuse(Notify("", "", VESK_CONTROL_ON_MESSAGE), VESK_SERVICE_ERR_VALUE);
    refuse(Notify("", "nobody"), VESK_SERVICE_ERR_NUMBER);
    refuse(Notify("").substr(0, kHead + 31), VESK_SERVICE_ERR_LENGTH);
    refuse(MessageOf(VESK_CONTROL_TICK), VESK_SERVICE_ERR_REQUEST);
    for (int i = 1; i < VESK_CONTROL_MAX_FAULTS; ++i)
        Add(Rule(Of(kCount), VESK_CONTROL_EFFECT_DIE));
    EXPECT_EQ(Steer(VESK_CONTROL_FAULT_ADD, 0, BytesOf(Rule(Of(kCount), kClose))).Result(),
              VESK_SERVICE_ERR_ROOM);
}

// Steps tell by their notification's text.
FORKED_TEST(Stepped, AScenarioRunsAtItsTimesAndMatches)
{
    size_t seen = 0;
    const auto begin = [](const std::string& steps) {
        EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, steps).Result(), 0);
    };
    EXPECT_EQ(Advance(1000), 0U);
    begin(Step(At(20), Notify("c")) + Step(At(10), Notify("a")) + Step(At(20), Notify("d")) +
          Step(At(10), Notify("b")) + Step(At(0), Notify("0")) + Step(At(15), Notify("fails", "nobody")) +
          Step(At(15), MessageOf(VESK_CONTROL_TIME, 1)) + Step(At(30), MessageOf(VESK_CONTROL_TIME, 12)) +
          Step(At(41), Notify("e")) + Step(At(43), Notify("f")));
    EXPECT_EQ(Told(seen), "0|");
    EXPECT_EQ(Advance(9), 9U);
    EXPECT_EQ(Told(seen), "");
    EXPECT_EQ(Advance(16), 3U);
    EXPECT_EQ(Told(seen), "a|b|c|d|");
    EXPECT_EQ(Advance(5), 1U); // to 30, where a step goes on to 42
    EXPECT_EQ(Told(seen), "e|");
    EXPECT_EQ(Steer(VESK_CONTROL_TIME).As<VeskControlTime>().nowMs, 1042U);

    // Before the message is served or sent; what a step sends counts as well.
    const std::string refuse = MessageOf(VESK_CONTROL_FAULT_ADD, 0, BytesOf(Rule(Of(kCount), kResult, 5)));
    begin(Step(AtMatch(2, Of(kCount, "caller")), refuse) +
          Step(AtMatch(2, Of(kCount, "caller")), Notify("hi!")) +
          Step(AtMatch(1, Of(kTold, "test-app", "hi")), Notify("before")) +
          Step(AtMatch(2, Of(kTold, "test-app", "hi")), Notify("not yet")));
    EXPECT_EQ(Advance(0), 0U); // the earlier one is gone
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result() + Send("other", MessageOf(kCount)).Result(), 0);
    EXPECT_EQ(Told(seen), "");
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 5);
    EXPECT_EQ(Told(seen), "before|hi!|");

    // However many of them follow from one another.
    std::string steps;
    for (uint64_t i = 1; i <= VESK_CONTROL_MAX_STEPS; ++i)
        steps += Step(AtMatch(i, Of(kTold)), Notify("."));
    begin(steps);
    EXPECT_NE(Told(seen), "");
    begin("");
    EXPECT_EQ(Told(seen), "");
    // A step's own notifications are sent as well.
    begin(Step(At(5), MessageOf(VESK_CONTROL_UNPLUG, 0))); // the camera
    Play("OPEN_VI_PORT 0 = 1");
    Advance(5);
    Play("VI_START 1 !UNPLUGGED");
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, 4).size(), 4U);
}

FORKED_TEST(Stepped, AResetEndsWhatWasSteered)
{
    Add(Rule(Of(kCount), kDelay, 10));
    std::thread caller([] { EXPECT_EQ(Send("caller", MessageOf(kCount)).platform, HOST_MSG_ERR_BROKEN); });
    EXPECT_TRUE(Eventually([] { return Advance(0) == 1; }));
    Steer(VESK_CONTROL_SCENARIO, 0, Step(At(5), Notify("")) + Step(AtMatch(1, Of(kCount)), Notify("")));
    EXPECT_EQ(Steer(VESK_CONTROL_RESET).Result(), 0);
    caller.join();
    EXPECT_EQ(Advance(10), 0U);
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 0);
    Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
    EXPECT_TRUE(Seen().ends_with("206 207 ")) << Seen();
    EXPECT_EQ(Add(Rule(Of(kCount), kClose)), 1U);
}

FORKED_TEST(Stepped, ARuleEndsTheServiceBeforeItServes)
{
    Add(Rule(Of(VESK_VIDEO_MSG_DEC_CREATE), VESK_CONTROL_EFFECT_DIE));
    EXPECT_EQ(Send("caller", MessageOf(VESK_VIDEO_MSG_DEC_CREATE)).platform, HOST_MSG_ERR_BROKEN);
    EXPECT_EQ(service.Wait(), 3);
    EXPECT_EQ(Seen().find("206"), std::string::npos);
    service = StartService();
    Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
}

// What the library makes of each fault for its caller, and that its next call is served.
FORKED_TEST(VideoService, AnApplicationsCallReturnsWhateverHappens)
{
    const VeskControlMatch all = Of(kCount, "test-app");
    const struct {
        VeskControlFault rule;
        uint32_t result;
        int leastMs = 0;
    } cases[] = {
        {Rule(all, kResult, VESK_SERVICE_ERR_BUSY), VESK_SERVICE_ERR_BUSY},
        {Rule(all, kDelay, 300), VESK_VIDEO_OK, 299}, // the model counts whole milliseconds
        {Rule(all, kClose), VESK_VIDEO_ERR_FAILURE},
        {Rule(all, kLength, 0), VESK_VIDEO_ERR_FAILURE},
        {Rule(all, kLength, -1, true), VESK_VIDEO_ERR_FAILURE},
        {Rule(all, kLength, 100, true), VESK_VIDEO_ERR_FAILURE},
        {Rule(all, VESK_CONTROL_EFFECT_GARBAGE), 0xab74}, // what the first random bytes say
        {Rule(all, VESK_CONTROL_EFFECT_NO_ANSWER), VESK_VIDEO_ERR_FAILURE, VESK_VIDEO_SYNC_TIMEOUT},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        Add(expected.rule);
        uint32_t count = 0;
        const auto begin = std::chrono::steady_clock::now();
        const uint32_t result = VeskVideoGetVoCount(&count);
        const auto passed = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(result, expected.result);
        EXPECT_GE(passed, std::chrono::milliseconds(expected.leastMs));
        EXPECT_LT(passed, std::chrono::milliseconds(expected.leastMs + 2000));
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_CLEAR).Result(), 0);
        EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
    }
}

// With the clock, nothing else wakes the service up.
struct FastClock : VideoService {
    FastClock() : VideoService("--time-scale", "100") {}
};
FORKED_TEST(FastClock, WhatIsDueIsDoneInTime)
{
    EXPECT_EQ(Steer(VESK_CONTROL_TIME, 1).Result(), VESK_SERVICE_ERR_STATE);
    Add(Rule(Of(kCount), kDelay, 20'000));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 0);
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_TRUE(passed >= std::chrono::milliseconds(200) && passed < std::chrono::seconds(2));
    Steer(VESK_CONTROL_SCENARIO, 0, Step(At(1000), Notify("x")) + Step(At(3000), Notify("y")));
    EXPECT_EQ(Arrived(kTold, 2), (std::vector<std::string>{"x", "y"}));
}

namespace {

/// What a watcher was shown.
struct Shown {
    std::mutex lock; // held, the watcher does not read
    std::vector<VeskControlMessage> messages;
    std::string lastData;
};
Shown& g_shown = *new Shown;

uint32_t OnShown(OsMsgEnvelope* envelope)
{
    const std::lock_guard guard(g_shown.lock);
    const std::string data(static_cast<const char*>(envelope->data), envelope->dataLen);
    data.copy(reinterpret_cast<char*>(&g_shown.messages.emplace_back()), sizeof(VeskControlMessage), kHead);
    g_shown.lastData = data.substr(kHead + sizeof(VeskControlMessage));
    return 0;
}

/// How many messages it was shown or knows to have lost, and how many it lost.
std::pair<uint64_t, uint64_t> CountShown()
{
    const std::lock_guard guard(g_shown.lock);
    const uint64_t lost = g_shown.messages.empty() ? 0 : g_shown.messages.back().lost;
    return {g_shown.messages.size() + lost, lost};
}

} // namespace

FORKED_TEST(Stepped, AWatcherSeesEveryMessageOrHowManyItLost)
{
    EXPECT_EQ(Send("", MessageOf(VESK_CONTROL_WATCH, 1)).Result(), VESK_SERVICE_ERR_VALUE);
    ASSERT_EQ(OsMsgRegTask("WATCH", 4, OnShown), 0U);
    std::thread([] { OsMsgTaskRoutineByName("WATCH"); }).detach();
    const auto await = [](size_t count) {
        EXPECT_TRUE(Eventually([=] { return CountShown().first == count; }));
    };
    Send("other", MessageOf(kCount));
    EXPECT_EQ(Steer(VESK_CONTROL_WATCH, 1).Result(), 0);
    const std::string answer = Send("other", MessageOf(kCount)).data;
    await(2);
    EXPECT_EQ(g_shown.lastData, answer);
    const uint32_t late = Add(Rule(Of(kCount), kDelay, 5));
    std::thread caller([] { Send("other", MessageOf(kCount)); });
    await(3);
    Notified(Notify("xyz"));
    await(4);
    Advance(5);
    caller.join();
    Steer(VESK_CONTROL_FAULT_CLEAR, late);
    const uint32_t closed = Add(Rule(Of(kCount), kClose));
    Send("other", MessageOf(kCount));
    Steer(VESK_CONTROL_FAULT_CLEAR, closed);
    await(7);
    std::string seen;
    const uint64_t first = g_shown.messages[0].exchange;
    for (const VeskControlMessage& shown : g_shown.messages) {
        const bool isNotified = shown.kind == VESK_CONTROL_SAW_NOTIFICATION;
        seen += std::to_string(shown.kind) + ':' + std::to_string(shown.dataLen) + '/' +
                (isNotified ? shown.taskName : std::to_string(shown.exchange - first)) + ' ';
        EXPECT_EQ(shown.number, isNotified ? kTold : kCount);
        EXPECT_STREQ(shown.procName, isNotified ? "test-app" : "other");
        EXPECT_EQ(shown.process, static_cast<uint32_t>(getpid()));
        EXPECT_EQ(shown.durationNs != 0,
                  shown.kind == VESK_CONTROL_SAW_ANSWER || shown.kind == VESK_CONTROL_SAW_NO_ANSWER);
    }
    EXPECT_EQ(seen, "1:24/0 2:28/0 1:24/1 4:27/VAPI 2:28/1 1:24/2 3:0/2 ");
    EXPECT_GE(g_shown.messages[4].durationNs,
              g_shown.messages[3].monotonicNs - g_shown.messages[2].monotonicNs);

    // What is too long is cut; a busy machine may be too slow to take it.
    uint64_t sent = 7;
    const std::string large = Notify(std::string(kMost - kHead - sizeof(VeskControlNotification), 'z'));
    EXPECT_TRUE(Eventually([&] {
        Notified(large);
        ++sent;
        const std::lock_guard guard(g_shown.lock);
        return g_shown.lastData.size() == kMost - kHead - sizeof(VeskControlMessage);
    }));
    // One that does not read holds nobody up.
    {
        const std::lock_guard guard(g_shown.lock);
        for (int i = 0; i < 3000; ++i, sent += 2)
            ASSERT_EQ(Send("other", MessageOf(kCount)).Result(), 0);
    }
    EXPECT_TRUE(Eventually([&] { // one more, which says how many are lost before it
        Send("other", MessageOf(kCount));
        return CountShown().first == (sent += 2);
    }));
    EXPECT_NE(CountShown().second, 0U);
    EXPECT_EQ(Steer(VESK_CONTROL_WATCH, 0).Result(), 0);
    Send("other", MessageOf(kCount));
    await(sent);
    HostMsgEndTask("WATCH");
}

FORKED_TEST(Application, EightTasksWatchAtATime)
{
    const Child service = StartService();
    const auto watch = [](const std::string& name, uint64_t enable) {
        return Send(name, MessageOf(VESK_CONTROL_WATCH, enable)).Result();
    };
    EXPECT_EQ(Child([&] { EXPECT_EQ(watch("gone", 1), 0); }).Wait(), 0);
    for (int i = 0; i < VESK_CONTROL_MAX_WATCHERS; ++i)
        EXPECT_EQ(watch('w' + std::to_string(i), 1), 0);
    EXPECT_EQ(watch("w0", 1), 0);
    EXPECT_EQ(watch("one more", 1), VESK_SERVICE_ERR_ROOM);
    EXPECT_EQ(watch("w0", 0), 0);
    EXPECT_EQ(watch("one more", 1), 0);
}
