// Names and texts of those who mean harm, in whatever people read: they neither begin a line nor steer a
// terminal.
#include "base/envelope.h"
#include "support/processes.h"
#include "tools/recording/writer.h"

#include <csignal>
#include <cstring>
#include <fstream>

#include <fcntl.h>

using namespace processes;
using namespace vesk;

namespace {

const std::string kVeskctl = VESK_EMULATOR " " VESK_VESKCTL_PATH " ";
const std::string kService = VESK_EMULATOR " " VESK_SERVICE_PATH " ";
const std::string kHostile = "\x1b]0;x\a\n\u009b"; // sets a terminal's title, forges a line

void ExpectHarmless(const std::string& output, ptrdiff_t lines, const std::string& origin)
{
    EXPECT_EQ(output, PrintableLines(output)) << origin;
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), lines) << origin << ": " << output;
    EXPECT_NE(output.find("\\u009b"), output.npos) << origin << ": " << output;
}

Bytes Message(VeskVideoRequest number, BytesView payload = {})
{
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(number);
    Bytes data(BytesOf(head).begin(), BytesOf(head).end());
    data.insert(data.end(), payload.begin(), payload.end());
    return data;
}

/// Calls GET_VO_COUNT in a process whose name is hostile.
void CallAs(const std::string& process, const std::string& task)
{
    InFork([&] {
        const Bytes data = Message(VESK_VIDEO_MSG_GET_VO_COUNT);
        OsMsgEnvelope envelope =
            MakeEnvelope(VESK_VIDEO_MSG_GET_VO_COUNT, {kHostile, "VAPI"}, {process, task}, data);
        OsMsgEnvelope* answer = nullptr;
        EXPECT_EQ(OsMsgSynSend(&envelope, &answer, VESK_VIDEO_SYNC_TIMEOUT), 0U);
        OsMsgSynRespFree(answer);
    });
}

struct HostileTest : testing::Test {
    RuntimeDir directory;
    std::string recording = directory.File(kHostile);
    Child service = Start(VESK_SERVICE_PATH);

    /// A recording of one call, whose program's name and comment are hostile, as are the file's own.
    HostileTest()
    {
        const int file = open(recording.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        EXPECT_EQ(recording::AppendSection(file, "a test", ""), 0);
        const auto append = [&](recording::Kind kind, const Bytes& data) {
            recording::Head head{};
            head.version = recording::kVersion;
            head.headSize = sizeof head;
            head.kind = kind;
            head.flags = recording::kSynchronous | recording::kSent;
            head.exchange = kind == recording::Kind::kNote ? 0 : 1;
            head.number = VESK_VIDEO_MSG_VO_START;
            head.dataLen = static_cast<uint32_t>(data.size());
            PutText(head.program, kHostile);
            EXPECT_EQ(recording::AppendPacket(file, 0, head, data, kHostile), 0);
        };
        append(recording::Kind::kNote, {});
        append(recording::Kind::kRequest, Message(VESK_VIDEO_MSG_VO_START));
        append(recording::Kind::kAnswer, Message(VESK_VIDEO_MSG_VO_START));
        close(file);
        service.ExpectOutput("serving");
    }

    /// Starts a command that writes to a file.
    Child Write(const std::string& command, const std::string& file) const
    {
        const std::string line = "exec " + command + " >" + directory.File(file) + " 2>&1";
        return Child([&] { execl("/bin/sh", "sh", "-c", line.c_str(), nullptr); });
    }
};

} // namespace

TEST_F(HostileTest, CommandsShowThemOnTheirLines)
{
    const std::string file = directory.File("file");
    const std::string hostile = '\'' + kHostile + '\'';
    const std::string played = '\'' + recording + '\'';
    const std::string toml = R"("\u001b]0;x\u0007\n\u009b" = 1)";
    const struct {
        std::string command;
        ptrdiff_t lines;
        std::string contents; ///< Of the file.
    } rows[] = {
        {kVeskctl + "decode " + played, 2},
        {kVeskctl + "decode --json " + played, 2},
        {kVeskctl + "replay " + played, 2},
        {kVeskctl + "--service " + hostile + " call GET_VO_COUNT", 1},
        {kVeskctl + "call " + hostile, 1},
        {kVeskctl + "list " + hostile, 2},
        {kVeskctl + "call GET_VO_COUNT --timeout " + hostile, 2},
        {kVeskctl + "call SET_DEFAULT_IMAGE imageParam1=0 imageParam2=0 text=" + hostile, 1},
        {kVeskctl + "call SET_DEFAULT_IMAGE --json imageParam1=0 imageParam2=0 text=" + hostile, 1},
        {kVeskctl + "device state | grep default", 1},
        {kVeskctl + "device state --json", 1},
        {kVeskctl + "device fault add GET_VO_COUNT " + hostile, 1},
        {kVeskctl + "run " + file + " >/dev/null", 1, "expect \u009b\x1b[2J"},
        {kVeskctl + "run " + file + " >/dev/null", 1, "device fault add '\u009b\x1b[2J' drop"},
        {kVeskctl + "--records " + file + " list", 1, "record \u009b\x1b[2J"},
        {kVeskctl + "device scenario " + file, 2, toml},
        {kVeskctl + "device scenario " + file, 1, "[[step]]\nat = 0\ndo = \"\\u001b\\u009b\""},
        {kService + "--scenario " + file, 2, toml},
        {kService + "--device " + file, 1, toml},
        {kService + "--device '" + directory.File(kHostile + kHostile) + '\'', 1},
        {kService + hostile, 2},
        {"VESK_LOG_LEVEL=" + hostile + ' ' + kService, 3}, // its name is taken
    };
    for (const auto& row : rows) {
        std::ofstream(file) << row.contents;
        ExpectHarmless(Shell(row.command).output, row.lines, PrintableLines(row.command));
    }
}

TEST_F(HostileTest, TheirCallsAreShownOnOneLineEach)
{
    Child watch = Write(kVeskctl + "device watch --count 1", "watch");
    ASSERT_TRUE(Eventually([&] { return Shell(kVeskctl + "device state | grep -q Watchers").status == 0; }));
    CallAs("VIDEO", "VCTL");
    EXPECT_EQ(watch.Wait(), 0);
    ExpectHarmless(Contents(directory.File("watch")), 1, "watch");

    Child server = Write(kVeskctl + "--service A/B serve '" + recording + '\'', "serve");
    ASSERT_TRUE(
        Eventually([&] { return Contents(directory.File("serve")).find('\n') != std::string::npos; }));
    CallAs("A", "B");
    EXPECT_EQ(server.Wait(SIGTERM), 1);
    ExpectHarmless(Contents(directory.File("serve")), 3, "serve");
}
