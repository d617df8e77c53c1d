// The tracer, "veskctl trace" and "veskctl decode", and Wireshark's view of a recording.
#include "decoder/text.h"
#include "support/patterns.h"
#include "support/processes.h"
#include "tools/recording/exchange.h"
#include "tools/recording/reader.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include <sys/wait.h>

using namespace processes;
using namespace vesk;
using namespace vesk::decoder;
namespace recording = vesk::recording;
using nlohmann::ordered_json;

namespace {

const std::string kVeskctl = VESK_EMULATOR " " VESK_VESKCTL_PATH " ";
const std::string kTour = VESK_EMULATOR " " VESK_TOUR_PATH;
const std::string kTraced = VESK_EMULATOR " " VESK_TRACED_PATH;

size_t Count(const std::string& text, const std::string& pattern)
{
    return patterns::AllMatches(text, pattern).size();
}

struct TraceTest : testing::Test {
    RuntimeDir directory;
    std::string file = directory.File("recording");

    TraceTest()
    {
        setenv("VESK_LOG_TARGET", "none", 1);
        setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 0); // the tracer is there before its runtime
    }
};

struct TourTest : TraceTest {
    Child service = Start(VESK_SERVICE_PATH);
    TourTest() { service.ExpectOutput("serving"); }
};

/// How a filter of Wireshark says that a field has a value.
std::string WiresharkFilter(const Place& place, const std::string& value)
{
    std::string name = "vesk." + std::string(Field{.path = place.path, .value = {}}.LastName());
    if (!place.isOpaque)
        return name + " == " + (place.kind == ElementKind::kText ? Quoted(value) : value);
    for (const char* alsoNumbers : {"vesk.padding", "vesk.padding1", "vesk.reserved"})
        name += name == alsoNumbers ? ".bytes" : "";
    std::string bytes;
    for (size_t i = 0; i < value.size(); i += 2)
        bytes += value.substr(i, 2) + (i + 2 < value.size() ? ":" : "");
    return name + " == " + bytes;
}

/// Filters and how many messages have what they say.
std::map<std::string, size_t> WiresharkFilters(const std::string& lines)
{
    const Decoder decoder;
    std::map<std::string, size_t> messages;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        const ordered_json json = ordered_json::parse(line);
        for (const auto& [kind, direction] : {std::pair("request", Direction::kRequest),
                                              {"answer", Direction::kAnswer},
                                              {"notification", Direction::kNotification}}) {
            if (!json.contains(kind))
                continue;
            const Listing listing = decoder.Describe(direction, json[kind]["number"]);
            std::set<std::string> filters{"vesk.name", "vesk.name == " + json[kind]["name"].dump()};
            if (json[kind].contains("problem"))
                filters.insert({"vesk.problem", "_ws.expert.message == " + json[kind]["problem"].dump()});
            for (const Assignment& field : AssignmentsOf(json[kind].dump(), "")) {
                if (direction == Direction::kAnswer && field.path == "result") {
                    filters.insert({"vesk.result", "vesk.result == " + field.value, "vesk.response_to",
                                    "vesk.response_in"}); // its request's
                    continue;
                }
                const std::string filter = WiresharkFilter(decoder.Locate(listing, field.path), field.value);
                filters.insert({filter, filter.substr(0, filter.find(' '))});
            }
            for (const std::string& filter : filters)
                ++messages[filter];
        }
    }
    return messages;
}

} // namespace

TEST_F(TraceTest, EndsAsTheApplicationDoes)
{
    const struct {
        const char* application;
        int status;
        const char* error;
    } rows[] = {
        {"sh -c 'exit 7'", 7, ""},
        {"sh -c 'kill -SEGV $$'", 139, ""},
        {"sh -c 'kill -KILL $$'", 137, ""},
        {"no-such-program", 127, "veskctl: cannot start 'no-such-program': No such file or directory\n"},
        {"/etc/passwd", 126, "veskctl: cannot start '/etc/passwd': Permission denied\n"},
    };
    for (const auto& row : rows) {
        const Result result = Shell(kVeskctl + "trace -- " + row.application);
        EXPECT_EQ(result.status, row.status) << row.application;
        EXPECT_NE(result.output.find(row.error), std::string::npos) << result.output;
    }
    const Result full = Shell(kVeskctl + "trace -o /dev/full -- echo started");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.output, "veskctl: cannot write /dev/full: No space left on device\n");
    const Result kept = Shell("LD_PRELOAD=libdl.so.2 " + kVeskctl + "trace -- sh -c 'echo $LD_PRELOAD'");
    EXPECT_EQ(Count(kept.output, "libvesk_trace.so:libdl.so.2\n"), 1U) << kept.output;
}

TEST_F(TraceTest, ExportsAndNeedsNoMoreThanItMust)
{
    EXPECT_EQ(Shell(VESK_NM " -D --defined-only " VESK_TRACER_PATH " | cut -d' ' -f3 | LC_ALL=C sort").output,
              "HostMsgCloseDeferred\nHostMsgDefer\nHostMsgReply\nHostMsgReplyDeferred\nOsMsgAsynSend\nOsMsgRe"
              "gTask\nOsMsgSynSend\n");
    const std::string needed = Shell(VESK_READELF " -d " VESK_TRACER_PATH).output;
    EXPECT_EQ(Count(needed, "\\(NEEDED\\)"), Count(needed, "\\[(libc|libstdc\\+\\+|ld-linux[^\\]]*)\\.so"));
}

TEST_F(TraceTest, ThreadsForksAndProcessesShareAFile)
{
    const std::string traced = "{ " + kVeskctl + "trace -o " + file + ".own -- env VESK_TRACE_FILE=" + file +
                               ' ' + kTraced + "; echo ended $?; }";
    EXPECT_EQ(Count(Shell(traced + " & " + traced + "; wait").output, "ended 5"), 2U);
    std::map<uint32_t, int> requests;
    int notifications = 0;
    recording::Joiner joiner;
    recording::ReadFile(file, [&](recording::Event&& event) {
        const auto exchange = joiner.Add(std::move(event));
        if (!exchange || exchange->begin.kind != recording::Kind::kRequest || !exchange->begin.isSynchronous)
            return;
        ++requests[exchange->begin.process];
        EXPECT_EQ(exchange->begin.data.size(), exchange->begin.dataLen);
        EXPECT_EQ(exchange->end->platformResult, 0x101U);
        EXPECT_EQ(exchange->end->comment, "OsMsgSynSend failed: 0x101");
    });
    while (const auto exchange = joiner.TakeOpen()) // the callbacks never returned
        notifications += exchange->begin.number == 106 && !exchange->begin.isSent ? 1 : 0;
    EXPECT_EQ(notifications, 2);
    ASSERT_EQ(requests.size(), 4U);
    for (const auto& [process, count] : requests)
        EXPECT_EQ(count, 100) << process;
}

TEST_F(TraceTest, RecordsAnswersThatAreGivenLate)
{
    EXPECT_EQ(Shell(kVeskctl + "trace -o " + file + " -- " + kTraced + " late").status, 0);
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
    std::map<uint32_t, std::string> ends; // of what was received, by number
    recording::Joiner joiner;
    recording::ReadFile(file, [&](recording::Event&& event) {
        const auto exchange = joiner.Add(std::move(event));
        if (!exchange || exchange->begin.isSent || exchange->begin.kind == recording::Kind::kNote)
            return;
        ASSERT_TRUE(exchange->end);
        const recording::Event& end = *exchange->end;
        EXPECT_GE(end.durationNs, 20000000U);
        ends[exchange->begin.number] += end.kind == recording::Kind::kAnswer && end.isSent &&
                                                end.sendProcName == "late" && end.data.size() == 4
                                            ? std::to_string(static_cast<int>(end.data[0]))
                                            : end.comment;
    });
    EXPECT_FALSE(joiner.TakeOpen());
    const std::map<uint32_t, std::string> expected{
        {1, "1"}, {2, "the connection was closed without an answer"}, {3, "3"}};
    EXPECT_EQ(ends, expected);
}

TEST_F(TraceTest, WritesToNoFileThatHasGotItsNumber)
{
    const struct {
        const char* what;
        std::string recorded, error;
    } rows[] = {
        {"reuse", "123", ""},
        {"take-all", "1",
         "libvesk_trace: cannot write " + file + ": Too many open files; nothing more is recorded\n"},
    };
    const std::string own = directory.File("own");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const Result result =
            Shell("rm -f " + file + ' ' + own + "; VESK_TRACE_FILE=" + file +
                  " LD_PRELOAD=" VESK_TRACER_PATH " " + kTraced + ' ' + row.what + ' ' + own);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, row.error);
        EXPECT_EQ(Contents(own), "my own");
        std::string recorded;
        recording::ReadFile(file, [&](const recording::Event& event) {
            recorded += event.kind == recording::Kind::kRequest ? std::to_string(event.number) : "";
        });
        EXPECT_EQ(recorded, row.recorded);
    }
}

TEST_F(TourTest, IsTheSameWhenNothingCanBeRecorded)
{
    for (const auto& [target, line] :
         {std::pair<std::string, std::string>("/dev/full", "No space left on device"),
          {directory.path, "Is a directory"},
          {"/nowhere\x1b/\u009b", R"(/nowhere\\x1b/\\u009b: No such file)"},
          {"", "VESK_TRACE_FILE does not name a file"}}) {
        const Result tour = Shell("VESK_TRACE_FILE=" + target + " LD_PRELOAD=" VESK_TRACER_PATH " " + kTour);
        EXPECT_EQ(tour.status, 0);
        EXPECT_EQ(Count(tour.output, "all as expected"), 1U);
        EXPECT_EQ(Count(tour.output, "libvesk_trace: .*" + line), 1U) << tour.output;
    }
}

TEST_F(TourTest, ShowsMessagesAsTheyPass)
{
    const Result all = Shell(kVeskctl + "trace --summary -- " + kTour);
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(Count(all.output, "\\n\\d+\\.\\d{6} vesk-device-tour\\[\\d+:\\d+\\] VO_START outEngNo=2001 -> "
                                "OK \\d+\\.\\d\\d ms\\n"),
              1U);
    EXPECT_GE(Count(all.output, "<- 106 DISPLAY_FIRST_FRAME viPort=0 portName=\"CAMERA\""), 1U);
    EXPECT_EQ(Count(all.output, "\\nOPEN_VO_PORT +\\d+ +\\d+ +\\d+\\.\\d+ +\\d+\\.\\d+ +\\d+\\.\\d+\\n"), 1U);
    for (const std::string& some :
         {"trace --match VO_START -- " + kTour,
          "trace -o - -- " + kTour + " 2>/dev/null | " + kVeskctl + "decode --match VO_START -"}) {
        const Result result = Shell(kVeskctl + some);
        EXPECT_EQ(Count(result.output, "vesk-device-tour\\["), Count(all.output, "\\] VO_START "))
            << result.output;
    }
}

TEST_F(TourTest, WiresharkFindsWhatDecodeShows)
{
    EXPECT_EQ(Shell(kVeskctl + "trace -o " + file + " -- " + kTour).status, 0);
    std::set<uint32_t> made;
    recording::ReadFile(file, [&](const recording::Event& event) {
        if (event.kind == recording::Kind::kRequest)
            made.insert(event.number);
    });
    for (const vesk::messages::Request& request : vesk::messages::kRequests)
        EXPECT_TRUE(made.contains(request.number)) << "the tour does not make " << request.name;

    std::string recording = Contents(file);
    std::ofstream(file + ".cut") << recording.substr(0, 20000);
    const Result cut = Shell(kVeskctl + "decode - < " + file + ".cut");
    EXPECT_EQ(cut.status, 1);
    EXPECT_EQ(Count(cut.output, "veskctl: .*: offset \\d+: the file ends in the middle of a block\\n"), 1U);
    EXPECT_GE(Count(cut.output, " -> OK"), 10U);

    if (Shell("command -v tshark").status != 0)
        GTEST_SKIP() << "tshark is not installed: its view is not compared";
    for (size_t at = 0; (at = recording.find("NET-CAMERA", at)) != recording.npos;)
        recording.replace(at, 10, "NET\xff\xe2\x82MERA");         // no UTF-8
    recording.replace(recording.find("default.png"), 1, 1, '\0'); // a text with a NUL in the middle
    std::ofstream(file) << recording;
    const Result decoded = Shell(kVeskctl + "decode --json --all " + file);
    EXPECT_EQ(decoded.status, 0);
    std::map<std::string, size_t> expected = WiresharkFilters(decoded.output);
    EXPECT_GE(expected.size(), 300U);
    expected["vesk.subPic"] = expected["vesk.sufaceFlag"];
    expected["vesk.cmdType == \"CAM_CTRL_QUERY\""] = expected["vesk.cmdType == 16"];
    EXPECT_EQ(expected["vesk.problem"], 1U);
    expected["vesk.result == \"OK\""] = expected["vesk.result == 0"];

    std::ofstream filters(file + ".filters");
    for (const auto& [filter, messages] : expected)
        filters << filter << '\n';
    filters.close();
    const Result shown =
        Shell("FILTERS=" + file + ".filters COUNTS=" + file + ".counts tshark -2 -r " + file +
              " -X lua_script:" VESK_DISSECTOR_PATH " -X lua_script:" VESK_COUNT_PATH " -T json 2>" + file +
              ".errors");
    EXPECT_EQ(shown.status, 0) << Contents(file + ".errors");
    std::ifstream counts(file + ".counts");
    std::map<std::string, size_t> found;
    size_t count = 0;
    for (std::string filter; counts >> count && std::getline(counts.ignore(), filter);)
        found[filter] = count;
    for (const auto& [filter, messages] : expected)
        EXPECT_EQ(found[filter], messages) << filter;

    const ordered_json frames = ordered_json::parse(shown.output);
    const auto frame = [&](size_t number) { return frames.at(number - 1)["_source"]["layers"]["vesk"]; };
    for (size_t number = 1; number <= frames.size(); ++number) {
        const ordered_json answer = frame(number);
        if (!answer.contains("vesk.response_to"))
            continue;
        const ordered_json request = frame(std::stoul(answer["vesk.response_to"].get<std::string>()));
        EXPECT_EQ(request.value("vesk.response_in", ""), std::to_string(number));
        EXPECT_EQ(request["vesk.head"]["vesk.head.exchange"], answer["vesk.head"]["vesk.head.exchange"]);
    }
}
