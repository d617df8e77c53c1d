// The virtual device as veskctl shows it, and commands that have one of their own.
#include "decoder/text.h"
#include "service/state.h"
#include "support/patterns.h"
#include "support/processes.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include <pty.h>
#include <sys/wait.h>

using namespace processes;
using nlohmann::ordered_json;

namespace {

const std::string kVeskctl = VESK_EMULATOR " " VESK_VESKCTL_PATH " ";

/// A text in which the numbers and names of processes, and the time, are always the same.
std::string Stable(std::string text)
{
    const std::pair<const char*, const char*> kReplaced[] = {
        {"veskctl-[0-9]+", "app"},
        {R"x(("(process|nowMs|timeMs|atMs|frozenAtMs|frames)":)[0-9]+)x", "$011"},
        {R"x("sumNs":[0-9]+,"counts":\[[0-9,]+)x", "\"sumNs\":1,\"counts\":[1"},
        {"process [0-9]+", "process 1"},
        {R"x(app\[[0-9]+\])x", "app[1]"},
        {"(nowMs |frozen since) [0-9]+", "$1 1"},
        {", frames [0-9]+", ""},
        {"at [0-9]+ ms", "at 1 ms"},
        {R"x((uvcUsers \[)[0-9]+)x", "$011"}};
    for (const auto& [pattern, replacement] : kReplaced)
        text = patterns::Replaced(text, pattern, replacement);
    return text;
}

struct DeviceTest : testing::Test {
    RuntimeDir directory;
    Child service = Start(VESK_SERVICE_PATH);

    DeviceTest() { service.ExpectOutput("serving"); }
};

/// A command with a virtual device, whose directory is made in this test's.
struct WithDeviceTest : testing::Test {
    RuntimeDir directory;

    WithDeviceTest() { setenv("TMPDIR", directory.path.c_str(), 1); }
    ~WithDeviceTest() override
    {
        unsetenv("TMPDIR");
        EXPECT_TRUE(std::filesystem::is_empty(directory.path));
    }
    void SetUp() override
    {
        if (*VESK_EMULATOR != '\0')
            GTEST_SKIP() << "veskctl cannot start the service under an emulator";
    }
};

} // namespace

TEST_F(DeviceTest, StateAndGraphOfAUsedService)
{
    Child application = Start(VESK_VESKCTL_PATH, "run", VESK_DEVICE_DATA "/scene");
    application.ExpectOutput("DEC_DELETE decStmNo=4001 -> OK");
    const Result json = Shell(kVeskctl + "device state --json");
    ASSERT_EQ(json.status, 0) << json.output;
    std::string sections;
    const auto document = ordered_json::parse(json.output);
    for (const auto& [name, section] : document.items())
        sections += name + ' ' + vesk::decoder::Dump(section) + '\n';
    EXPECT_EQ(Stable(sections), Contents(VESK_DEVICE_DATA "/state"));
    EXPECT_EQ(Stable(Shell(kVeskctl + "device state").output), Contents(VESK_DEVICE_DATA "/state.txt"));
    EXPECT_EQ(Stable(Shell(kVeskctl + "device graph").output), Contents(VESK_DEVICE_DATA "/graph.dot"));

    application.Wait(SIGTERM); // it leaves nothing but what has been counted
    const auto left = ordered_json::parse(Shell(kVeskctl + "device state --json").output);
    EXPECT_EQ(left["inputEngines"].size() + left["encoders"].size() + left["clients"].size(), 0U);
    EXPECT_EQ(left["requests"].back()["name"].dump(), "\"CONTROL_STATE\"");
    EXPECT_EQ(left["requests"].back()["results"][0]["count"].dump(), "3");
}

TEST_F(DeviceTest, StateTellsHowLongAnswersTookAndWhatWaits)
{
    Child client = Start(VESK_VESKCTL_PATH, "monitor");
    client.ExpectOutput("VI_PORT_PIXEL_INFO port=2");
    for (const char* command : {"fault add GET_VO_COUNT delay 60", "fault add VO_STOP close", "notify 208",
                                "fault add VIDEO_CAPABILITY_UPDATE delay 600000", "notify 208", "notify 208"})
        EXPECT_EQ(Shell(kVeskctl + "device " + command).status, 0) << command;
    for (const char* request :
         {"GET_VO_COUNT", "VO_STOP outEngNo=1", "SET_CAMERA_QUEUE_ID inEngNo=1 queHandle=0"})
        Shell(kVeskctl + "call " + request);
    const auto look = [] { return ordered_json::parse(Shell(kVeskctl + "device state --json").output); };
    auto state = look();
    EXPECT_EQ(state["clients"][0]["notificationsSent"], 10U);
    EXPECT_EQ(state["clients"][0]["notificationsWaiting"], 2U);
    std::map<std::string, uint64_t> counts, longest;
    for (const ordered_json& request : state["requests"]) {
        const auto name = request["name"].get<std::string>();
        const ordered_json& durations = request["durations"];
        EXPECT_EQ(durations["counts"].size(), state["durationBoundsNs"].size() + 1);
        for (const ordered_json& count : durations["counts"])
            counts[name] += count.get<uint64_t>();
        longest[name] = durations["sumNs"].get<uint64_t>();
    }
    EXPECT_EQ(counts["GET_VO_COUNT"], 1U);
    EXPECT_GE(longest["GET_VO_COUNT"], 50'000'000U); // but for the milliseconds to which delays are rounded
    EXPECT_EQ(counts["VO_STOP"], 0U);
    EXPECT_EQ(counts["SET_CAMERA_QUEUE_ID"], 1U);
    Shell(kVeskctl + "device reset");
    state = look();
    EXPECT_EQ(state["clients"][0]["notificationsWaiting"], 0U);
    EXPECT_EQ(state["requests"].size(), 1U) << state["requests"]; // the reset itself
}

TEST_F(DeviceTest, SavedStatesMayHoldAnything)
{
    auto state = ordered_json::parse(Shell(kVeskctl + "device state --json").output);
    state["inputs"][0]["name"] = "a \"b\" \\N &lt; \x1b[2J\n";
    state["outputs"][0]["name"] = "\xc2\x9b";
    state["cut"]["outputs"] = 5;
    state["unknown"][0]["a"] = 1;
    std::ofstream(directory.File("state")) << state;
    const Result graph = Shell(kVeskctl + "device graph - < " + directory.File("state"));
    EXPECT_NE(graph.output.find(R"("input 0" [label="input 0\na \"b\" \\N &amp;lt; \\x1b[2J\\n\n38)"),
              std::string::npos)
        << graph.output;
    const Result plain = Shell(kVeskctl + "device state " + directory.File("state"));
    EXPECT_NE(plain.output.find("\n\nOutputs (the first 2 of 5)\n  0  \\u009b "), std::string::npos)
        << plain.output;
    EXPECT_NE(plain.output.find("\n\nunknown\n  {\"a\":1}\n"), std::string::npos) << plain.output;
    const struct {
        const char* text;
        const char* error;
    } rows[] = {
        {"{", "line 1, column 2: unexpected end of input"},
        {R"({"service":{"process":1}})", "this is not the state of a virtual service: key"},
        {R"({"service":{"procName":"","taskName":"","process":1},"inputs":[7]})", "this is not the state"}};
    for (const auto& row : rows) {
        std::ofstream(directory.File("state")) << row.text;
        for (const char* what : {"state ", "graph "}) {
            const Result result = Shell(kVeskctl + "device " + what + directory.File("state"));
            EXPECT_NE(result.status, 0) << what << row.text;
            EXPECT_NE(result.output.find(row.error), std::string::npos) << result.output;
        }
    }
}

TEST(State, CutsItsLongestListsToFitIntoAMessage)
{
    auto document = ordered_json::parse(R"({"few":[1,2,3],"many":[]})");
    document["text"] = "\xff";
    for (int i = 0; i < 1000; ++i)
        document["many"].push_back(i);
    const auto whole = ordered_json::parse(vesk::service::BoundedText(document, 10000));
    EXPECT_EQ(whole["many"].size(), 1000U);
    EXPECT_FALSE(whole.contains("cut"));
    EXPECT_EQ(whole["text"].dump(), "\"\xef\xbf\xbd\"");
    const std::string text = vesk::service::BoundedText(document, 600);
    const auto cut = ordered_json::parse(text);
    EXPECT_LE(text.size(), 600U);
    EXPECT_EQ(cut["many"].size(), 125U);
    EXPECT_EQ(cut["cut"].dump(), R"({"many":1000})");
    EXPECT_EQ(cut["few"].size(), 3U);
    EXPECT_EQ(vesk::service::BoundedText(document, 10), "");
}

TEST_F(DeviceTest, AtRestTheServiceIsNotWokenUp)
{
    Child monitor = Start(VESK_VESKCTL_PATH, "monitor");
    monitor.ExpectOutput("103 VI_PORT_PIXEL_INFO");
    const std::string threads = "/proc/" + std::to_string(service.Process()) + "/task";
    std::string before;
    auto since = std::chrono::steady_clock::now();
    EXPECT_TRUE(Eventually([&] {
        std::string now;
        for (const auto& thread : std::filesystem::directory_iterator(threads)) {
            const std::string status = Contents(thread.path() / "status");
            now += status.substr(status.find("\nvoluntary_ctxt_switches"));
        }
        if (std::exchange(before, now) != now)
            since = std::chrono::steady_clock::now();
        return std::chrono::steady_clock::now() - since > std::chrono::milliseconds(1200);
    })) << before;
}

TEST_F(DeviceTest, AWatchShowsTheMessagesOfOthers)
{
    Child watch = Start(VESK_VESKCTL_PATH, "device", "watch", "--match", "VO_*", "--match", "GET_VO_PORT",
                        "--match", "INIT_UVC", "--summary");
    ASSERT_TRUE(Eventually([&] { return Shell(kVeskctl + "device state | grep -q Watchers").status == 0; }));
    Shell(kVeskctl + "call VO_START outEngNo=7");
    watch.ExpectOutput("] VO_START outEngNo=7 -> NUMBER (0x203) ");
    Shell(kVeskctl + "call INIT_UVC");
    watch.ExpectOutput("] INIT_UVC -> sent ");
    watch.ExpectOutput("<- 100 VO_PORT_PLUG_STATE port=0 val=1\n");

    kill(watch.Process(), SIGSTOP);
    std::ofstream script(directory.File("script"));
    for (int i = 0; i < 1500; ++i)
        script << "GET_VO_PORT count=2\n";
    script.close();
    EXPECT_EQ(Shell(kVeskctl + "run " + directory.File("script") + " > /dev/null").status, 0);
    kill(watch.Process(), SIGCONT);
    EXPECT_TRUE(Eventually([&] { return Shell(kVeskctl + "call VO_STOP outEngNo=8").status == 3; }));
    watch.ExpectOutput("VO_STOP outEngNo=8");
    watch.ExpectOutput(" messages lost\n");
    kill(watch.Process(), SIGINT);
    watch.ExpectOutput("\nVO_START                                 1         1 ");
    EXPECT_EQ(watch.Wait(), 0);
    EXPECT_EQ(ordered_json::parse(Shell(kVeskctl + "device state --json").output)["watchers"].size(), 0U);

    Child json = Start(VESK_VESKCTL_PATH, "device", "watch", "--json", "--count", "1");
    ASSERT_TRUE(Eventually([&] { return Shell(kVeskctl + "device state | grep -q Watchers").status == 0; }));
    Shell(kVeskctl + "call GET_VO_COUNT");
    json.ExpectOutput(R"("to":"VIDEO/VCTL","request":{"kind":"request","number":0,"name":"INIT")");
    EXPECT_EQ(json.Wait(), 0);
}

TEST_F(DeviceTest, AWatchIsRecordedAsMessagesPass)
{
    const std::string file = directory.File("watched"), copy = directory.File("copy");
    const std::string command = kVeskctl + "device watch -o - | tee " + file + " | " + kVeskctl + "decode -";
    Child shown([&] { execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); });
    ASSERT_TRUE(Eventually([&] { return Shell(kVeskctl + "device state | grep -q Watchers").status == 0; }));
    Shell(kVeskctl + "call VO_STOP outEngNo=8");
    shown.ExpectOutput("] VO_STOP outEngNo=8 -> NUMBER (0x203) ");
    const std::string copied = kVeskctl + "decode " + copy + " 2>&1 | grep -c VO_STOP";
    Child follower =
        Start(VESK_EXTCAP_PATH, "--capture", "--extcap-interface", "vesk-file", "--file", file.c_str(),
              "--fifo", copy.c_str(), "--extcap-capture-filter", "VO_STOP result=NUMBER");
    EXPECT_TRUE(Eventually([&] { return Shell(copied).output == "1\n"; }));
    Shell(kVeskctl + "call VO_STOP outEngNo=9");
    EXPECT_TRUE(Eventually([&] { return Shell(copied).output == "2\n"; }));
    EXPECT_EQ(follower.Wait(SIGTERM), 0);
    EXPECT_EQ(service.Wait(SIGTERM), 0);
    shown.ExpectOutput("-- the service VIDEO/VCTL has ended\n");
    EXPECT_EQ(shown.Wait(), 0);
}

TEST_F(DeviceTest, WiresharkCapturesFromAService)
{
    const std::pair<const char*, const char*> rows[] = {
        {"--extcap-interfaces",
         "\ninterface {value=vesk-VIDEO.VCTL}{display=Video service VIDEO/VCTL}\ninterface"},
        {"--extcap-config --extcap-interface vesk-file", "arg {number=0}{call=--file}"},
        {"--extcap-capture-filter 'VO_* result=BUSY'; echo \"is $?\"", "is 0"},
        {"--extcap-capture-filter VO_STRAT; echo \"is $?\"",
         "no request 'VO_STRAT'; nearest: VO_START\nis 0"},
        {"--capture --extcap-interface vesk-A.B --fifo -; echo \"is $?\"", "nobody serves A.B in"},
    };
    for (const auto& [arguments, output] : rows)
        EXPECT_NE(Shell(VESK_EMULATOR " " VESK_EXTCAP_PATH " " + std::string(arguments)).output.find(output),
                  std::string::npos)
            << arguments;
    if (*VESK_EMULATOR != '\0' || Shell("command -v tshark").status != 0)
        GTEST_SKIP() << "tshark is not installed, or cannot run the program";
    std::filesystem::create_directories(directory.File("extcap"));
    std::filesystem::create_symlink(VESK_EXTCAP_PATH, directory.File("extcap/vesk-extcap"));
    const std::string command = "WIRESHARK_CONFIG_DIR=" + directory.path +
                                " exec tshark -l -X lua_script:" VESK_DISSECTOR_PATH " -i vesk-VIDEO.VCTL "
                                "-f VO_STOP -T fields -e vesk.name -e vesk.outEngNo 2>/dev/null";
    Child tshark([&] { execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); });
    for (int i = 0; i < 6 && Shell(kVeskctl + "device state | grep -q Watchers").status != 0; ++i)
        Eventually([&] { return Shell(kVeskctl + "device state | grep -q Watchers").status == 0; });
    Shell(kVeskctl + "call VO_START outEngNo=8; " + kVeskctl + "call VO_STOP outEngNo=8");
    tshark.ExpectOutput("VO_STOP\t8\nVO_STOP\t");
    EXPECT_EQ(service.Wait(SIGTERM), 0);
    EXPECT_EQ(tshark.Wait(), 0);
}

TEST_F(DeviceTest, TopCountsWhatPassesUntilTheServiceEnds)
{
    const std::string file = directory.File("top");
    Shell("(" + kVeskctl + "device top --json --interval 0.1 --match 'VO_S*' --match INIT_UVC --match 208; " +
          "echo status $?) > " + file + " 2>&1 &");
    ASSERT_TRUE(Eventually([&] { return Shell(kVeskctl + "device state | grep -q Watchers").status == 0; }));
    std::ofstream(directory.File("script"))
        << "expect NUMBER VO_START outEngNo=7\nexpect NUMBER VO_STOP outEngNo=7\nINIT_UVC\nGET_VO_COUNT\n"
           "device fault add 208 drop --count 1\ndevice notify 208\ndevice notify 208\n"
           "device fault add VO_START delay 200\nexpect NUMBER VO_START outEngNo=7\n";
    EXPECT_EQ(Shell(kVeskctl + "run " + directory.File("script")).status, 0);
    const auto sums = [&] { // of all intervals
        std::map<std::string, std::vector<uint64_t>> counts;
        std::istringstream lines(Contents(file));
        for (std::string line; std::getline(lines, line) && line.ends_with('}');) {
            const auto interval = ordered_json::parse(line);
            for (const auto& row :
                 {ordered_json::array({interval}), interval["applications"], interval["messages"]})
                for (const auto& tally : row) {
                    const bool isMessage = tally.contains("name");
                    const std::string name = tally.value(isMessage ? "name" : "program", "");
                    auto& sum = counts[isMessage ? name : name.substr(0, 7)];
                    sum.resize(5);
                    sum[0] += tally["requests"].get<uint64_t>();
                    sum[1] += tally["results"].empty() ? 0 : tally["results"][0]["count"].get<uint64_t>();
                    sum[2] += tally["notificationsSent"].get<uint64_t>();
                    sum[3] += tally["notificationsDropped"].get<uint64_t>();
                    sum[4] += tally["p99Ms"] > 196 && tally["p99Ms"] < 5000 ? 1 : 0;
                }
        }
        return ordered_json(counts).dump();
    };
    EXPECT_TRUE(Eventually([&] {
        return sums() == R"({"":[4,3,1,1,1],"INIT_UVC":[1,0,0,0,0],"VIDEO_CAPABILITY_UPDATE":[0,0,1,1,0],)"
                         R"("VO_START":[2,2,0,0,1],"VO_STOP":[1,1,0,0,0],"veskctl":[4,3,1,1,1]})";
    })) << sums();
    service.Wait(SIGTERM);
    EXPECT_TRUE(Eventually([&] {
        return Contents(file).ends_with("veskctl: the service VIDEO/VCTL has ended\nstatus 4\n");
    })) << Contents(file);
}

TEST_F(DeviceTest, TopShowsTheBusiestAsTheTerminalHasRoom)
{
    std::ofstream(directory.File("script")) << "GET_VO_COUNT\nGET_VO_COUNT\nGET_VO_PORT count=2\nINIT_UVC\n";
    const Child application([&] {
        while (Shell(kVeskctl + "run " + directory.File("script")).status == 0)
            ;
    });
    setenv("TERM", "xterm", 1);
    int terminal = -1;
    const winsize size{10, 80, 0, 0};
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", ("exec " + kVeskctl + "device top --by message").c_str(), nullptr);
        _exit(127);
    }
    std::string screen;
    char buffer[512];
    for (ssize_t got; (got = read(terminal, buffer, sizeof buffer)) > 0;) {
        const bool hasMore = screen.find(" more\r\n") != std::string::npos;
        screen.append(buffer, static_cast<size_t>(got));
        if (!hasMore && screen.find(" more\r\n") != std::string::npos) {
            EXPECT_EQ(write(terminal, "\3", 1), 1); // Ctrl-C
        }
    }
    int status = -1;
    waitpid(child, &status, 0);
    close(terminal);
    EXPECT_EQ(status, 0);
    const size_t left = screen.find("\x1b[?25h\x1b[?1049l"); // the whole table stays
    ASSERT_NE(left, std::string::npos) << screen;
    EXPECT_NE(screen.find("\nGET_VO_PORT ", left), std::string::npos) << screen;
    EXPECT_EQ(screen.find(" more\r\n", left), std::string::npos) << screen;
}

TEST_F(WithDeviceTest, EndsAsTheCommandDoes)
{
    const struct {
        const char* arguments;
        int status;
        const char* output; ///< A part of it; null: there is none.
    } rows[] = {
        {"true", 0, nullptr},
        {"-- sh -c 'exit 3'", 3, "the service's log:\nvesk-video-service: serving VIDEO/VCTL"},
        {"sh -c 'kill -9 $$'", 137, "the service's log"},
        {"/nonexistent/program", 127, "cannot start '/nonexistent/program': No such file"},
        {"/etc/passwd", 126, "Permission denied"},
        {"", 2, "COMMAND is required"},
        {VESK_VESKCTL_PATH " call GET_VO_COUNT --json", 0, R"("count":2)"},
        {"--service A/B -- " VESK_VESKCTL_PATH " --service A/B call GET_VO_COUNT", 0, "count=2"},
        {"sh -c 'stat -c %a $VESK_RUNTIME_DIR'", 0, "700\n"},
        {"sh -c 'TMPDIR=$(printf %0100d 0); mkdir $TMPDIR; TMPDIR=$PWD/$TMPDIR veskctl with-device true'", 0,
         nullptr},
        {"sh -c 'veskctl with-device true && veskctl device state'", 0, "Service VIDEO/VCTL"},
        {"--device large_room.toml -- " VESK_VESKCTL_PATH " call GET_VO_COUNT", 0, "count=3"},
        {"--numbers 7 -- veskctl device state", 0, ", numbers from seed 7\n"},
        {"--device - --scenario - true", 2, "standard input serves one of"},
        {"--device room.toml true", 4, "/devices, which has default.toml, large_room.toml\n"},
        {"--scenario loose_cable.toml true", 4, "\nloose_cable.toml:1: step: "},
        {"veskctl device scenario bad_start.toml", 0, nullptr},
        {"veskctl device scenario", 0, "\nloose_cable.toml  A display's cable is loose: "},
        {"--service-program false true", 4, "the service ended with status 1"},
        {"--service-program /nonexistent/service true", 4, "cannot start '/nonexistent/service'"},
        {"--service-program ./early sh -c 'sleep 0.4; exit 5'", 5,
         "the service has ended before the command, with status 6"},
        {"--service-program ./stubborn true", 0, "it is killed"},
    };
    RuntimeDir programs;
    const char kServe[] = "#!/bin/sh\ntimeout 20 " VESK_SERVICE_PATH " \"$@\" & ";
    std::ofstream(programs.File("early")) << kServe << "sleep 0.2; kill $!; wait; exit 6\n";
    std::ofstream(programs.File("stubborn")) << kServe << "trap '' TERM\nexec sleep 60\n";
    std::ofstream(programs.File("loose_cable.toml")) << "step = 1"; // in place of the installed one
    for (const char* name : {"early", "stubborn"})
        std::filesystem::permissions(programs.File(name), std::filesystem::perms::owner_all);
    for (const auto& row : rows) {
        const Result result =
            Shell("cd " + programs.path + " && " VESK_VESKCTL_PATH " with-device " + row.arguments);
        EXPECT_EQ(result.status, row.status) << row.arguments << ": " << result.output;
        if (row.output == nullptr)
            EXPECT_EQ(result.output, "");
        else
            EXPECT_NE(result.output.find(row.output), std::string::npos)
                << row.arguments << ": " << result.output;
    }
}

TEST_F(WithDeviceTest, PassesSignalsOnAndEndsTheService)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        Child command = Start(VESK_VESKCTL_PATH, "with-device", "sh", "-c",
                              "trap 'exit 7' INT TERM; echo ready; while :; do sleep 0.05; done");
        command.ExpectOutput("ready");
        EXPECT_EQ(command.Wait(signal), 7);
    }
    // Nobody is left to remove the directory, but command and service end, and the next one removes it.
    const auto begun = std::chrono::steady_clock::now();
    Shell(VESK_VESKCTL_PATH " with-device sh -c 'kill -9 $PPID; exec sleep 100'");
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(50));
    const auto files = std::filesystem::directory_iterator(directory.path);
    const std::string own = files->path();
    EXPECT_TRUE(std::filesystem::exists(own + "/owner"));
    EXPECT_TRUE(
        Eventually([&] { return Contents(own + "/service.log").find("ended") != std::string::npos; }));
    Shell(VESK_VESKCTL_PATH " with-device true");
}
