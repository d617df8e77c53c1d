// "veskctl replay" and "veskctl serve": the tour's recording against another service, and in place of one.
#include "support/processes.h"
#include "tools/recording/conversation.h"
#include "tools/recording/output.h"

#include <algorithm>
#include <csignal>
#include <fstream>

using namespace processes;
using namespace vesk::recording;

namespace {

const std::string kVeskctl = VESK_EMULATOR " " VESK_VESKCTL_PATH " ";
const std::string kTour = VESK_EMULATOR " " VESK_TOUR_PATH " ";

/// The tour, recorded; the service that it used has ended.
struct ReplayTest : testing::Test {
    RuntimeDir directory;
    std::string file = directory.File("recording");

    ReplayTest()
    {
        setenv("VESK_LOG_TARGET", "none", 1);
        setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 0); // the tracer is there before its runtime
        Child service = StartService();
        EXPECT_EQ(Shell(kVeskctl + "trace -o " + file + " -- " + kTour).status, 0);
        EXPECT_EQ(service.Wait(SIGTERM), 0);
    }

    template <class... Words>
    Child StartService(Words... options)
    {
        Child service = Start(VESK_SERVICE_PATH, options...);
        service.ExpectOutput("serving");
        return service;
    }

    Child Serve()
    {
        const std::string command =
            "exec " + kVeskctl + "serve --once --strict " + file + " 2>" + directory.File("errors");
        Child server([&] { execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); });
        EXPECT_EQ(Shell(kVeskctl + "wait-service").status, 0); // which is no part of the recording
        return server;
    }
};

using Events = std::vector<Event>;

/// The first event of a kind and number.
Events::iterator Find(Events& events, Kind kind, uint32_t number)
{
    return std::find_if(events.begin(), events.end(),
                        [&](const Event& event) { return event.kind == kind && event.number == number; });
}

/// Sets a number in the first such event.
void Set(Events& events, Kind kind, uint32_t number, size_t offset, std::byte value)
{
    Find(events, kind, number)->data[offset] = value;
}

/// A copy of all, as a process of its own.
Events As(Events events, const std::string& program, uint32_t process)
{
    for (Event& event : events) {
        event.program = program;
        event.process = process;
    }
    return events;
}

} // namespace

TEST_F(ReplayTest, AFreshServiceAnswersAsBeforeAndAUsedOneHandsOutOtherNumbers)
{
    EXPECT_EQ(Shell(kVeskctl + "replay " + file).status, 4);
    const Child service = StartService("--numbers", "7");
    Result result = Shell(kVeskctl + "replay --speed 2 " + file);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("21 notifications came: no difference\n"), std::string::npos)
        << result.output;
    // What the tour has set for all displays is different now, and nothing else that it can tell.
    result = Shell(kVeskctl + "replay --match 'VO_*' --match 'SET_VO_*' --match 'ENC*' - < " + file);
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(Shell(kVeskctl + "replay --speed soon " + file).status, 2);
}

TEST_F(ReplayTest, ADifferenceIsNamed)
{
    const Conversation conversation = ReadConversation(file);
    std::string contents = Contents(file);
    for (const Turn& turn : conversation.turns) {
        const auto* data = reinterpret_cast<const char*>(turn.end->data.data());
        if (turn.request.number == VESK_VIDEO_MSG_GET_VO_COUNT)
            contents[contents.rfind(std::string(data, turn.end->data.size())) + 24] = 5;
        for (const Event& event : turn.notifications) {
            const std::string bytes(reinterpret_cast<const char*>(event.data.data()), event.data.size());
            if (event.number == VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY)
                contents[contents.rfind(bytes) + offsetof(VeskVideoMsgHead, ulParam1)] = 9;
        }
    }
    std::ofstream(file) << contents;
    const Child service = StartService();
    const Result text = Shell(kVeskctl + "replay --wait 200 " + file);
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.output.find("]: GET_VO_COUNT: count was 5, is 2\n"), std::string::npos) << text.output;
    EXPECT_NE(text.output.find("]: 6 WALLPAPER_DEC_OK wallpaperNo=9: wallpaperNo was 9, is 1\n"),
              std::string::npos)
        << text.output;
    EXPECT_NE(text.output.find("notifications came: 2 differences\n"), std::string::npos) << text.output;
    EXPECT_NE(Shell(kVeskctl + "replay --match GET_VO_COUNT --json " + file)
                  .output.find(R"("field":"count","recorded":"5","replayed":"2"})"),
              std::string::npos);
}

TEST_F(ReplayTest, TwoRecordingsAreCompared)
{
    constexpr uint32_t kAsked = VESK_VIDEO_MSG_GET_VO_COUNT;
    constexpr uint32_t kNotified = VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY;
    constexpr size_t kParam1 = offsetof(VeskVideoMsgHead, ulParam1);
    const auto asIs = [](Events&) {};
    const auto twice = [](Events& events, const char* first, const char* second) {
        const Events more = As(events, second, 2);
        events = As(events, first, 1);
        events.insert(events.end(), more.begin(), more.end());
    };
    const struct {
        std::function<void(Events&)> recorded, other;
        std::string differences; ///< What the output contains, before the summary.
        int count;
    } kRows[] = {
        {asIs, asIs, "", 0},
        {asIs, [&](Events& events) { Set(events, Kind::kAnswer, kAsked, 24, std::byte{5}); },
         "]: GET_VO_COUNT: count was 2, is 5\n", 1},
        {asIs, [&](Events& events) { events.erase(Find(events, Kind::kAnswer, kAsked)); },
         "]: GET_VO_COUNT: answer was there, is not there\n", 1},
        {asIs, [&](Events& events) { events.erase(Find(events, Kind::kRequest, kAsked)); },
         "]: GET_VO_COUNT: request was there, is not there\n", 1},
        {[&](Events& events) { events.erase(Find(events, Kind::kRequest, kAsked)); }, asIs,
         "]: GET_VO_COUNT: request was not there, is there\n", 1},
        {asIs,
         [&](Events& events) { Set(events, Kind::kRequest, VESK_VIDEO_MSG_VO_START, kParam1, std::byte{9}); },
         ": VO_START outEngNo=2001: outEngNo was 2001, is 1801\n", 1},
        {asIs, [&](Events& events) { events.erase(Find(events, Kind::kNotification, kNotified)); },
         "]: 6 WALLPAPER_DEC_OK wallpaperNo=1: notification was there, is not there\n", 1},
        {asIs,
         [&](Events& events) { // two seconds too late
             const auto late = Find(events, Kind::kNotification, kNotified);
             late->monotonicNs = events.back().monotonicNs + 2000000000;
             std::rotate(late, late + 1, events.end());
         },
         "]: 6 WALLPAPER_DEC_OK wallpaperNo=1: notification was there, is not there\nnot compared", 1},
        {[&](Events& events) { twice(events, "a", "b"); }, [&](Events& events) { twice(events, "b", "a"); },
         "", 0},
        {asIs, [&](Events& events) { twice(events, events[0].program.c_str(), "b"); },
         "b[2]: process was not there, is there\n", 1},
    };
    Events events;
    ReadFile(file, [&](Event&& event) { events.push_back(std::move(event)); });
    const auto write = [&](const std::string& name, const std::function<void(Events&)>& edit) {
        Events edited = events;
        edit(edited);
        Output output(directory.File(name), "test", "test");
        for (const Event& event : edited)
            output.Append(event);
        return directory.File(name);
    };
    for (const auto& row : kRows) {
        const Result result =
            Shell(kVeskctl + "replay " + write("one", row.recorded) + " --with " + write("other", row.other));
        EXPECT_EQ(result.status, row.count == 0 ? 0 : 1);
        EXPECT_NE(result.output.find(row.differences), std::string::npos) << row.differences << result.output;
        const std::string count = row.count == 0 ? ": no" : ": " + std::to_string(row.count);
        EXPECT_NE(result.output.find("came" + count + " difference"), std::string::npos) << result.output;
    }
    const std::string other = directory.File("other");
    EXPECT_EQ(
        Shell(kVeskctl + "with-device --numbers 7 -- " + kVeskctl + "trace -o " + other + " -- " + kTour)
            .status,
        0);
    const Result numbers = Shell(kVeskctl + "replay " + file + " --with " + other);
    EXPECT_EQ(numbers.status, 0) << numbers.output;
    EXPECT_NE(Shell(kVeskctl + "replay " + file + " --with /dev/null").output.find("/dev/null: "),
              std::string::npos);
}

TEST_F(ReplayTest, WhatComesAfterTheEndOfARecordingIsNoDifference)
{
    const std::string script = directory.File("script");
    std::ofstream(script) << "wait VI_PORT_PLUG_STATE port=2\n";
    {
        const Child service = StartService();
        for (const char* unrecorded :
             {"VO_PORT_PLUG_STATE port=0", "VI_PORT_PIXEL_INFO port=2"}) // first, last
            Shell(kVeskctl + "device fault add " + unrecorded + " drop");
        EXPECT_EQ(Shell(kVeskctl + "trace -o " + file + " -- " + kVeskctl + "run " + script).status, 0);
    }
    const Child service = StartService();
    const Result result = Shell(kVeskctl + "replay " + file);
    EXPECT_NE(result.output.find("\nnot compared, as the recorded application had ended by then: 1 notif"),
              std::string::npos)
        << result.output;
    EXPECT_EQ(result.output.rfind("100 VO_PORT_PLUG_STATE port=0 val=1: notification was not there, is", 0),
              0U);
    EXPECT_NE(result.output.find(" 7 notifications came: 1 difference\n"), std::string::npos);
    // A recording that goes on for longer than a notification may take shows that there was none.
    const Result sooner = Shell(kVeskctl + "replay --wait 0 " + file);
    EXPECT_NE(sooner.output.find("103 VI_PORT_PIXEL_INFO port=2 "), std::string::npos) << sooner.output;
}

TEST_F(ReplayTest, TheTourNeedsNoServiceWhenItsRecordingIsServed)
{
    for (const char* name : {"", "another-name"}) {
        Child server = Serve();
        const Result tour = Shell(kTour + name);
        EXPECT_EQ(tour.status, 0);
        EXPECT_NE(tour.output.find("all as expected"), std::string::npos) << tour.output;
        server.ExpectOutput("not in the recording: 0, out of order: 0; recorded but not asked for: 0 of ");
        EXPECT_EQ(server.Wait(), 0);
    }
}

TEST_F(ReplayTest, WhatIsNotRecordedIsRefusedAndTheLastAnswerIsGivenAgain)
{
    const std::string script = directory.File("script");
    const std::string started =
        "OPEN_VO_PORT voPort=0\nVO_START outEngNo=2001\nexpect STATE VO_START outEngNo=2001\n";
    {
        const Child service = StartService();
        std::ofstream(script) << started;
        EXPECT_EQ(Shell(kVeskctl + "trace -o " + file + " -- " + kVeskctl + "run " + script).status, 0);
    }
    std::ofstream(script) << started
                          << "expect STATE VO_START outEngNo=2001\nexpect REQUEST VO_STOP outEngNo=2001\n";
    Child server = Serve();
    const Result result = Shell(kVeskctl + "run " + script);
    EXPECT_EQ(result.status, 0) << result.output;
    server.ExpectOutput(
        "served: 8, not in the recording: 1, out of order: 1; recorded but not asked for: 0 of 6");
    EXPECT_EQ(server.Wait(), 1);
    const std::string errors = Contents(directory.File("errors"));
    EXPECT_NE(errors.find("veskctl: not in the recording: VO_STOP outEngNo=2001 from veskctl-"),
              std::string::npos);
    EXPECT_NE(errors.find("; next in the recording: EXIT\n"), std::string::npos) << errors;
}
