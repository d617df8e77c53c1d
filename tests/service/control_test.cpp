// The virtual service steered and broken on command.
#include "base/words.h"
#include "service/service_fixture.h"
#include "steering/fault.h"
#include "steering/match.h"

#include <atomic>
#include <cstring>
#include <thread>

namespace steering = vesk::steering;
using vesk::SplitWords;
using vesk::decoder::Decoder;

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
const std::string kTelling = "DATA_AUX_ANNOTATION_CAP_READY ";                 // its name, before conditions
constexpr uint32_t kMost = VESK_VIDEO_MAX_MESSAGE_SIZE;
constexpr size_t kHead = sizeof(VeskVideoMsgHead);

const Decoder& TheDecoder()
{
    static const Decoder s_decoder;
    return s_decoder;
}

VeskControlMatch Match(const std::string& words, const std::string& application = "")
{
    return steering::MatchOf(TheDecoder(), SplitWords(words), application);
}

VeskControlFault Rule(const std::string& words, const steering::FaultOptions& options = {})
{
    return steering::FaultOf(TheDecoder(), SplitWords(words), options);
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
    const struct {
        std::vector<std::string> effects;
        uint32_t platform;
        std::string data;
        uint64_t afterMs = 0;
    } cases[] = {
        {{"result 0x1234", "length +4"}, 0, refusal + zeros(4)},
        {{"length =0"}, 0, ""},
        {{"length =24"}, 0, answer.substr(0, kHead)},
        {{"length -5"}, 0, answer.substr(0, kHead - 1)},
        {{"length -1000", "length +4"}, 0, zeros(4)},
        {{"length =" + std::to_string(kMost), "length +4"}, 0, answer + zeros(kMost - answer.size())},
        {{"close"}, HOST_MSG_ERR_BROKEN, ""},
        {{"no-answer"}, HOST_MSG_ERR_TIMEOUT, ""},
        {{"delay 200"}, 0, answer, 200},
        {{"delay 200", "length +4", "delay 200", "result 0x1234"}, 0, refusal + zeros(4), 400},
        {{"delay 200", "close"}, HOST_MSG_ERR_BROKEN, "", 200},
        {{"delay 200", "no-answer"}, HOST_MSG_ERR_TIMEOUT, ""},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        for (const std::string& effect : expected.effects)
            Add(Rule("GET_VO_COUNT " + effect, {.application = "caller"}));
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
        Play("CONTROL_FAULT_CLEAR 0");
    }
}

// A request that is answered late, closed or not at all is served at once; one with another result is not.
FORKED_TEST(Stepped, NotificationsKeepTheirPlaceAfterALateAnswer)
{
    Play("OPEN_VO_PORT 0 = 2001; SET_DEFAULT_IMAGE 0 0 text=/image");
    const uint32_t refused = Add(Rule("VO_CLOSE result 0"));
    Play("VO_CLOSE 2001; VO_START 2001");
    Play("CONTROL_FAULT_CLEAR #", refused);
    Add(Rule("VO_CLOSE delay 100"));
    std::thread caller(
        [] { EXPECT_EQ(Send("test-app", MessageOf(VESK_VIDEO_MSG_VO_CLOSE, 2001)).Result(), 0); });
    EXPECT_TRUE(Eventually([] { return Advance(0) == 1; }));
    Play("VO_STOP 2001 !NUMBER"); // it is closed
    EXPECT_EQ(Notified(Notify("")), 1U);
    Arrived(kTold);
    EXPECT_EQ(Advance(100), 0U);
    Arrived(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY);
    EXPECT_TRUE(Seen().ends_with("109 108 ")) << Seen();
    caller.join();
}

FORKED_TEST(Stepped, FaultsChangeNotifications)
{
    const struct {
        std::vector<std::string> effects; // after conditions
        std::string arrive;
        uint32_t sent = 1;
        std::string application = "";
    } cases[] = {
        {{"drop"}, "xyz|", 1, "other"},
        {{"@24=787a drop", "@24=78797a20 drop"}, "xyz|"},
        {{"@24=7879 drop"}, "", 0, "test-app"},
        {{"duplicate", "duplicate"}, "xyz|xyz|xyz|"},
        {{"drop", "duplicate"}, "", 0},
        {{"length +2", "duplicate"}, std::string("xyz\0\0|xyz\0\0|", 12)},
        {{"length =25"}, "x|"},
        {{"length =23"}, ""}, // the library drops it
        {{"delay 30", "duplicate"}, "xyz|xyz|"},
    };
    for (size_t seen = 0; const auto& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        for (const std::string& effect : expected.effects)
            Add(Rule(kTelling + effect, {.application = expected.application}));
        EXPECT_EQ(Notified(Notify("xyz", "test-app")), expected.sent);
        Advance(30);
        Play("CONTROL_FAULT_CLEAR 0");
        EXPECT_EQ(Told(seen), expected.arrive);
    }
    // What waits is bounded.
    Add(Rule(kTelling + "delay 30"));
    const std::string large = Notify(std::string(kMost - kHead - sizeof(VeskControlNotification), 'z'));
    for (int late = 0; late < 15; ++late)
        EXPECT_EQ(Notified(large), 1U);
    EXPECT_EQ(Notified(large), 0U);
    Add(Rule("GET_VO_COUNT delay 30"));
    Add(Rule("GET_VO_COUNT length =" + std::to_string(kMost)));
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
        Play("CONTROL_FAULT_CLEAR #", fault);
        return hit;
    };
    const auto rule = [](const steering::FaultOptions& options) {
        return Rule("GET_VO_COUNT result 9", options);
    };
    EXPECT_EQ(hits(rule({.count = 2}), 4), "XX..");
    EXPECT_EQ(hits(rule({.after = 2, .every = 3, .count = 2}), 12), "....X..X....");
    const std::string chances = hits(rule({.percent = 25}), 100);
    EXPECT_EQ(hits(rule({.percent = 25}), 100), chances);
    EXPECT_NE(hits(rule({.percent = 25, .seed = 1}), 100), chances);
    const auto count = std::count(chances.begin(), chances.end(), 'X');
    EXPECT_TRUE(count > 10 && count < 40) << chances;

    const auto garbage = [](uint64_t seed) {
        Add(Rule("GET_VO_COUNT garbage", {.seed = seed}));
        const std::string first = Send("caller", MessageOf(kCount)).data;
        const std::string second = Send("caller", MessageOf(kCount)).data;
        Play("CONTROL_FAULT_CLEAR 0");
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
    const uint32_t kept = Add(Rule(kTelling + "drop"));
    EXPECT_EQ(Steer(VESK_CONTROL_SCENARIO, 0, Step(At(50), inner)).Result(), 0);
    const auto expectUnchanged = [&] {
        EXPECT_EQ(Advance(0), 1U);
        EXPECT_EQ(Steer(VESK_CONTROL_FAULT_LIST).As<VeskControlFaultState>().fault, kept);
    };
    const auto refuse = [&](const std::string& message, uint32_t refusal) {
        EXPECT_EQ(Send("steering", message).Result(), refusal);
        expectUnchanged();
    };
    for (const std::string fields : {"match.kind=3",
                                     "match.number=0x4008",
                                     "match.procName=\1",
                                     "match.conditions=9",
                                     "match.conditions=1",
                                     "match.conditions=1 match.condition[0].size=57",
                                     "match.conditions=1 match.condition[0]: offset=4194304 size=1",
                                     "match.conditions=1 match.condition[0]: offset=0xffffffff size=2",
                                     "effect=0",
                                     "effect=10",
                                     "match.kind=1 effect=8 value=0",
                                     "match.kind=2 effect=4 value=0",
                                     "effect=4",
                                     "effect=1 value=0x10000",
                                     "effect=1 value=-1",
                                     "value=86400001",
                                     "isRelative=1",
                                     "percent=101",
                                     "effect=5 value=4194305",
                                     "effect=5 value=-1",
                                     "effect=5 isRelative=2",
                                     "effect=5 isRelative=1 value=-9223372036854775807"}) {
        Play("CONTROL_FAULT_ADD match.number=7 effect=2 value=1 " + fields + " !VALUE");
        expectUnchanged();
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
         {Step({2}, inner), Step(AtMatch(0, Match("GET_VO_COUNT")), inner),
          Step(AtMatch(1, {VESK_CONTROL_ANY, VESK_CONTROL_TIME}), inner), Step(At(0), MessageOf(kCount)),
          Step(At(0), MessageOf(0x4abc)), Step(At(0), MessageOf(VESK_CONTROL_SCENARIO)),
          Step(At(0), MessageOf(VESK_CONTROL_WATCH, 1))}},
        {VESK_SERVICE_ERR_ROOM, {many}}};
    const std::string first = Step(At(0), MessageOf(VESK_CONTROL_FAULT_CLEAR));
    for (const auto& [refusal, lasts] : steps) {
        for (const std::string& last : lasts)
            refuse(MessageOf(VESK_CONTROL_SCENARIO, 0, first + last), refusal);
    }
    Play("CONTROL_FAULT_CLEAR 99 !NUMBER; CONTROL_TICK !REQUEST");
    expectUnchanged();
    refuse(Notify("", "", VESK_CONTROL_ON_MESSAGE), VESK_SERVICE_ERR_VALUE);
    refuse(Notify("", "nobody"), VESK_SERVICE_ERR_NUMBER);
    refuse(Notify("").substr(0, kHead + 31), VESK_SERVICE_ERR_LENGTH);
    for (int i = 1; i < VESK_CONTROL_MAX_FAULTS; ++i)
        Add(Rule("GET_VO_COUNT die"));
    Play("CONTROL_FAULT_ADD match.number=7 effect=4 !ROOM");
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
    const std::string refuse = MessageOf(VESK_CONTROL_FAULT_ADD, 0, BytesOf(Rule("GET_VO_COUNT result 5")));
    begin(Step(AtMatch(2, Match("GET_VO_COUNT", "caller")), refuse) +
          Step(AtMatch(2, Match("GET_VO_COUNT", "caller")), Notify("hi!")) +
          Step(AtMatch(1, Match(kTelling + "@24=6869", "test-app")), Notify("before")) +
          Step(AtMatch(2, Match(kTelling + "@24=6869", "test-app")), Notify("not yet")));
    EXPECT_EQ(Advance(0), 0U); // the earlier one is gone
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result() + Send("other", MessageOf(kCount)).Result(), 0);
    EXPECT_EQ(Told(seen), "");
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 5);
    EXPECT_EQ(Told(seen), "before|hi!|");

    // However many of them follow from one another.
    const auto telling = Match(kTelling);
    const std::string dot = Notify(".");
    std::string steps;
    for (uint64_t i = 1; i <= VESK_CONTROL_MAX_STEPS; ++i)
        steps += Step(AtMatch(i, telling), dot);
    begin(steps);
    EXPECT_NE(Told(seen), "");
    begin("");
    EXPECT_EQ(Told(seen), "");
    // A step's own notifications are sent as well.
    begin(Step(At(5), MessageOf(VESK_CONTROL_UNPLUG, 0))); // the camera
    Play("OPEN_VI_PORT 0 = 1001");
    Advance(5);
    Play("VI_START 1001 !UNPLUGGED");
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, 4).size(), 4U);
}

FORKED_TEST(Stepped, AResetEndsWhatWasSteered)
{
    Add(Rule("GET_VO_COUNT delay 10"));
    std::thread caller([] { EXPECT_EQ(Send("caller", MessageOf(kCount)).platform, HOST_MSG_ERR_BROKEN); });
    EXPECT_TRUE(Eventually([] { return Advance(0) == 1; }));
    Steer(VESK_CONTROL_SCENARIO, 0,
          Step(At(5), Notify("")) + Step(AtMatch(1, Match("GET_VO_COUNT")), Notify("")));
    Play("CONTROL_RESET");
    caller.join();
    EXPECT_EQ(Advance(10), 0U);
    EXPECT_EQ(Send("caller", MessageOf(kCount)).Result(), 0);
    Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
    EXPECT_TRUE(Seen().ends_with("206 207 ")) << Seen();
    EXPECT_EQ(Add(Rule("GET_VO_COUNT close")), 1U);
}

FORKED_TEST(Stepped, ARuleEndsTheServiceBeforeItServes)
{
    Add(Rule("DEC_CREATE die"));
    EXPECT_EQ(Send("caller", MessageOf(VESK_VIDEO_MSG_DEC_CREATE)).platform, HOST_MSG_ERR_BROKEN);
    EXPECT_EQ(service.Wait(), 3);
    EXPECT_EQ(Seen().find("206"), std::string::npos);
    service = StartService();
    Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
}

// What the library makes of each fault for its caller, and that its next call is served.
FORKED_TEST(VideoService, AnApplicationsCallReturnsWhateverHappens)
{
    const struct {
        std::string effect;
        uint32_t result;
        int leastMs = 0;
    } cases[] = {
        {"result BUSY", VESK_SERVICE_ERR_BUSY},
        {"delay 300", VESK_VIDEO_OK, 299}, // the model counts whole milliseconds
        {"close", VESK_VIDEO_ERR_FAILURE},
        {"length =0", VESK_VIDEO_ERR_FAILURE},
        {"length -1", VESK_VIDEO_ERR_FAILURE},
        {"length +100", VESK_VIDEO_ERR_FAILURE},
        {"garbage", 0xab74}, // what the first random bytes say
        {"no-answer", VESK_VIDEO_ERR_FAILURE, VESK_VIDEO_SYNC_TIMEOUT},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.effect);
        Add(Rule("GET_VO_COUNT " + expected.effect, {.application = "test-app"}));
        uint32_t count = 0;
        const auto begin = std::chrono::steady_clock::now();
        const uint32_t result = VeskVideoGetVoCount(&count);
        const auto passed = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(result, expected.result);
        EXPECT_GE(passed, std::chrono::milliseconds(expected.leastMs));
        EXPECT_LT(passed, std::chrono::milliseconds(expected.leastMs + 2000));
        Play("CONTROL_FAULT_CLEAR 0");
        EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
    }
}

// With the clock, nothing else wakes the service up.
struct FastClock : VideoService {
    FastClock() : VideoService("--time-scale", "100") {}
};
FORKED_TEST(FastClock, WhatIsDueIsDoneInTime)
{
    Play("CONTROL_TIME 1 !STATE");
    Add(Rule("GET_VO_COUNT delay 20000"));
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
    const uint32_t late = Add(Rule("GET_VO_COUNT delay 5"));
    std::thread caller([] { Send("other", MessageOf(kCount)); });
    await(3);
    Notified(Notify("xyz"));
    await(4);
    Advance(5);
    caller.join();
    Play("CONTROL_FAULT_CLEAR #", late);
    const uint32_t closed = Add(Rule("GET_VO_COUNT close"));
    Send("other", MessageOf(kCount));
    Play("CONTROL_FAULT_CLEAR #", closed);
    const uint32_t dropped = Add(Rule(kTelling + "drop"));
    Notified(Notify("xyz"));
    Play("CONTROL_FAULT_CLEAR #", dropped);
    await(8);
    std::string seen;
    const uint64_t first = g_shown.messages[0].exchange;
    for (const VeskControlMessage& shown : g_shown.messages) {
        const bool isNotified = shown.kind >= VESK_CONTROL_SAW_NOTIFICATION;
        seen += std::to_string(shown.kind) + ':' + std::to_string(shown.dataLen) + '/' +
                (isNotified ? shown.taskName : std::to_string(shown.exchange - first)) + ' ';
        EXPECT_EQ(shown.number, isNotified ? kTold : kCount);
        EXPECT_STREQ(shown.procName, isNotified ? "test-app" : "other");
        EXPECT_EQ(shown.process, static_cast<uint32_t>(getpid()));
        EXPECT_EQ(shown.durationNs != 0,
                  shown.kind == VESK_CONTROL_SAW_ANSWER || shown.kind == VESK_CONTROL_SAW_NO_ANSWER);
    }
    EXPECT_EQ(seen, "1:24/0 2:28/0 1:24/1 4:27/VAPI 2:28/1 1:24/2 3:0/2 5:27/VAPI ");
    EXPECT_GE(g_shown.messages[4].durationNs,
              g_shown.messages[3].monotonicNs - g_shown.messages[2].monotonicNs);

    // Answers that are owed when the device is reset, or their sender ends, are shown not to be given.
    const auto owe = [](const auto& begin) {
        Add(Rule("GET_VO_COUNT delay 5"));
        const size_t before = CountShown().first;
        auto sender = begin();
        EXPECT_TRUE(Eventually([=] { return CountShown().first == before + 1; }));
        return sender;
    };
    const auto send = [] { Send("other", MessageOf(kCount)); };
    std::thread reset = owe([&] { return std::thread(send); });
    Play("CONTROL_RESET");
    reset.join();
    await(12); // 206 and 207 are among them
    Child dead = owe([&] { return Child(send); });
    dead.Wait(SIGKILL);
    await(14);
    for (const size_t unanswered : {9U, 13U})
        EXPECT_EQ(g_shown.messages[unanswered].kind, VESK_CONTROL_SAW_NO_ANSWER);
    EXPECT_EQ(Advance(0), 0U);
    Play("CONTROL_FAULT_CLEAR 0");

    // What is too long is cut; a busy machine may be too slow to take it.
    uint64_t sent = 14;
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
    EXPECT_EQ(Steer(VESK_CONTROL_WATCH, 1).Result(), 0); // again: the losses stay counted
    EXPECT_TRUE(Eventually([&] {                         // one more, which says how many are lost before it
        Send("other", MessageOf(kCount));
        return CountShown().first == (sent += 2);
    }));
    EXPECT_NE(CountShown().second, 0U);
    EXPECT_EQ(Steer(VESK_CONTROL_WATCH, 0).Result(), 0);
    Send("other", MessageOf(kCount));
    await(sent + 1);
    EXPECT_EQ(g_shown.messages.back().kind, VESK_CONTROL_SAW_LAST);
    HostMsgEndTask("WATCH");
}

// Of an application that ends, nothing is left, and of the others everything, also while the time stands
// still.
FORKED_TEST(Application, WhatADeadOneHadIsFreeAtOnce)
{
    const Child service = StartService("--step");
    const auto state = [] { return Steer(VESK_CONTROL_STATE).Payload(); };
    const auto use = [](const std::string& port) {
        const uint32_t queue = Number(VeskVideoBuffCreateQueue);
        Play("OPEN_VI_PORT " + port + "; OPEN_VO_PORT " + port +
                 "; ENC_CREATE; DEC_CREATE; OPEN_MOUSE_PORT 1; OPEN_LOCAL_MOUSE; INIT_UVC; OPEN_UVC_PORT; "
                 "CREATE_OVERLAY_CHANNEL_PARAM 1 5" +
                 port,
             queue);
    };
    use("0");
    const std::string before = state();
    Child dead = Prepared([&] {
        g_name = "dead";
        Join();
        use("1");
        Steer(VESK_CONTROL_WATCH, 1);
    });
    EXPECT_NE(state().find("\"dead\""), std::string::npos);
    dead.Wait(SIGKILL);
    const auto things = [](const std::string& text) { return text.substr(0, text.find("\"requests\"")); };
    EXPECT_TRUE(Eventually([&] { return things(state()) == things(before); })) << state();
    EXPECT_NE(state().find("\"watchers\":[]"), std::string::npos);
}

FORKED_TEST(Application, AQueueThatIsDestroyedIsMissedByItsUser)
{
    setenv("VESK_LOG_TARGET", ("file:" + directory.File("log")).c_str(), 1);
    const Child service = StartService();
    unsetenv("VESK_LOG_TARGET");
    const uint32_t queue = Number(VeskVideoBuffCreateQueue), encoder = Number(VeskVideoEncoderCreate);
    Play("SET_ENC_QUE_HANDLE % #; DESTROY_QUEUE #; SET_ENC_QUE_HANDLE % # !NUMBER", queue, encoder);
    const auto isShown = [] {
        return Steer(VESK_CONTROL_STATE).Payload().find("Gone\":true") != std::string::npos;
    };
    EXPECT_TRUE(isShown());
    const std::string line = "queue " + std::to_string(queue) + " is gone, but encoder " +
                             std::to_string(encoder) + " of process " + std::to_string(getpid()) +
                             " uses it\n";
    EXPECT_NE(Contents(directory.File("log")).find(line), std::string::npos)
        << Contents(directory.File("log"));
    Play("CREATE_QUEUE #", queue);
    EXPECT_FALSE(isShown());
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
