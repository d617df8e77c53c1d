// veskctl from a user's side, with the virtual service as its peer.
#include "decoder/identity.h"
#include "decoder/text.h"
#include "support/patterns.h"
#include "support/processes.h"

#include <csignal>
#include <filesystem>
#include <fstream>

#include <pty.h>
#include <sys/wait.h>

using namespace processes;
using namespace vesk;
using namespace vesk::decoder;

namespace {

/// Runs veskctl with arguments as a shell reads them.
Result Veskctl(const std::string& arguments)
{
    return Shell(VESK_EMULATOR " " VESK_VESKCTL_PATH " " + arguments);
}

struct VeskctlTest : testing::Test {
    RuntimeDir directory;
    Child service = Start(VESK_SERVICE_PATH);

    VeskctlTest() { service.ExpectOutput("serving"); }

    Result RunScript(const std::string& script, const std::string& options = "")
    {
        std::ofstream(directory.File("script")) << script;
        return Veskctl("run " + options + ' ' + directory.File("script"));
    }
};

/// What a shell's command shows at a terminal where this is typed. It must succeed.
std::string Screen(const std::string& command, const std::string& typed)
{
    setenv("TERM", "xterm", 1);
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    std::string screen;
    char buffer[512];
    for (ssize_t got; (got = read(terminal, buffer, sizeof buffer)) > 0;)
        screen.append(buffer, static_cast<size_t>(got));
    int status = -1;
    waitpid(child, &status, 0);
    close(terminal);
    EXPECT_EQ(status, 0);
    return screen;
}

/// How a request must be called to be meaningful, if not with its arguments alone: with these fields, or with
/// the result code that it must give, since its preconditions are not veskctl's to set up.
const std::map<std::string, std::string> kSpecial = {
    {"OPEN_VI_PORT", "viPort=0"},
    {"SET_APP_CAPTURE_PARAM", "inEngNo=$inEngNo taskHandle=1"},
    {"SET_VIRTUAL_VI_PARAM", "sourceId=1 text="},
    {"SET_ENC_PARAM", "encStmNo=$encStmNo w=640 h=480 fr=30 br=1000"},
    {"SET_DEC_PARAM", "decStmNo=$decStmNo w=640 h=480"},
    {"SET_LOOP_MODE", "encNo=$encStmNo decNo=$decStmNo"},
    {"SET_PRESET", "inEngNo=$inEngNo isValid=1 presetId=1"},
    {"QUERY_PRESET", "presetSelector=$inEngNo presetCount=1"},
    {"SET_VIO_CALLBACK", "engNo=$outEngNo"},
    {"CREATE_QUEUE", "NUMBER"},
    {"DESTROY_QUEUE", "NUMBER"},
    {"EXECUT_VI_TRACKING_PARAM", "STATE"},
    {"VERYFY_IMAGE", "UNREACHABLE"},
    {"VO_WINDOW_DESTROY", "NUMBER"},
};

/// A line that calls a request: 1 for an argument, 0 for a queue, or what an answer has said about it.
std::string CallOf(const vesk::messages::Request& request)
{
    const std::string name(ShortName(request.name));
    const auto special = kSpecial.find(name);
    const bool isRefused = special != kSpecial.end() && special->second.find('=') == std::string::npos;
    if (special != kSpecial.end() && !isRefused)
        return name + ' ' + special->second;
    std::string line = (isRefused ? "expect " + special->second + ' ' : "") + request.function;
    for (const auto& argument : request.arguments) {
        const std::string argumentName = argument.Name();
        if (argument.IsUsed())
            line += ' ' + argumentName +
                    (argumentName == "queHandle"                ? "=0"
                     : IdentityOf(argumentName) != argumentName ? "=1"
                                                                : "=$" + argumentName);
    }
    return line + (request.payload.kind == vesk::messages::Kind::kText ? " text=/x" : "");
}

/// What must come first: opening, then setting, starting, stopping, closing, leaving.
int PhaseOf(const std::string& name)
{
    const char* const kLaterFirst[] = {"EXIT|DEINIT",
                                       "CLOSE|DELETE|DESTROY_[OQ]",
                                       "STOP|DISCONNECT|DISABLE|_DESTROY$",
                                       "KEYFRAME|MODIFY_F|REQ_I_|VI_QUE_H",
                                       "START",
                                       "^(?!.*(INIT|OPEN|CREATE))"};
    int phase = 0;
    for (const char* pattern : kLaterFirst) {
        if (patterns::IsFound(name, pattern))
            return phase;
        --phase;
    }
    return phase;
}

} // namespace

TEST_F(VeskctlTest, ARunCallsEveryRequest)
{
    std::multimap<int, std::string> lines;
    for (const auto& request : vesk::messages::kRequests)
        lines.emplace(PhaseOf(std::string(ShortName(request.name))), CallOf(request));
    std::string script;
    for (const auto& [phase, line] : lines)
        script += line + '\n';
    const Result result = RunScript(script, "--json");
    EXPECT_EQ(result.status, 0) << result.output.substr(result.output.size() -
                                                        std::min<size_t>(300, result.output.size()));
    std::set<std::string> called;
    for (const auto& match :
         patterns::AllMatches(result.output, R"x("request":\{"kind":"request","number":(\d+))x"))
        called.insert(match[1]);
    EXPECT_EQ(called.size(), std::size(vesk::messages::kRequests));
}

TEST_F(VeskctlTest, Scripts)
{
    EXPECT_EQ(
        RunScript("$mine = call OPEN_VO_PORT voPort=0 # a comment\n"
                  "expect BUSY\nOPEN_VO_PORT voPort=0\n"
                  "SET_VO_PARAM outEngNo=$mine param0=1920\n"
                  "SET_DEFAULT_IMAGE imageParam1=0 imageParam2=0 text=/image\nVO_START outEngNo=${outEngNo}\n"
                  "wait DISPLAY_FIRST_FRAME 'portName=HDMI-OUT-?'\n"
                  "expect OK [0].outEngNo=$mine GET_VO_PORT count=2\nsleep 1\n")
            .status,
        0);
    const struct {
        const char* script;
        int status;
        const char* error;
    } rows[] = {
        {"\nVO_START outEngNo=77", 3, ":2: the service refused VO_START: NUMBER (0x203)"},
        {"GET_VO_COUNT\nVO_START outEngNo=$cuont", 2, ":2: no answer so far has set $cuont; nearest: count"},
        {"expect BUSY GET_VO_COUNT", 1, ":1: GET_VO_COUNT gave OK, expected BUSY (0x204)"},
        {"expect OK count=3 GET_VO_COUNT", 1, ":1: GET_VO_COUNT: expected count=3"},
        {"expect BUSY", 1, ":1: no call follows 'expect BUSY (0x204)'"},
        {"wait 208 timeout=20", 5, ":1: no notification '208' within 20 ms"},
        {"wait 107\n", 5, "within 300 ms"},
        {"text='a", 2, ":1: a quote ' is not closed"},
        {"decribe VO_START", 2, ":1: there is no request or command 'decribe'; nearest: describe"},
        {"sleep soon", 2, ":1: 'soon': expected a number of milliseconds"},
    };
    for (const auto& row : rows) {
        const Result result = RunScript(row.script, "--timeout 300");
        EXPECT_EQ(result.status, row.status) << row.script;
        EXPECT_NE(result.output.find(row.error), std::string::npos) << result.output;
    }
    const Result quiet = RunScript("GET_VO_COUNT\nwait VO_PORT_PLUG_STATE port=1", "--quiet");
    EXPECT_NE(quiet.output.find("ms\n<- 100 VO_PORT_PLUG_STATE port=1 val=1\n"), std::string::npos);
    EXPECT_EQ(quiet.output.find("port=0"), std::string::npos) << quiet.output;
    const Result going = RunScript("VO_START outEngNo=77\nGET_VO_COUNT\n", "--keep-going");
    EXPECT_EQ(going.status, 3);
    EXPECT_NE(going.output.find("OK count=2"), std::string::npos);
}

TEST_F(VeskctlTest, StatusesAndOutput)
{
    std::ofstream(directory.File("fields.json")) << R"({"arguments":{"outEngNo":1},"payload":{"param0":7}})";
    std::ofstream(directory.File("bad.json")) << "{";
    const struct {
        std::string arguments;
        int status;
        const char* output; ///< A part of it.
    } rows[] = {
        {"call VeskVideoGetVoCount", 0, "GET_VO_COUNT -> OK "},
        {"call OPEN_VO_PORT voPort=9", 3, "NUMBER (0x203): No port"},
        {"call OPEN_VO_PORT voPort=x", 2, "voPort=x: expected a number from 0 to 4294967295"},
        {"call OPEN_VO_PORT voPort", 2, "'voPort': expected name=value"},
        {"call VO_STRAT", 2, "nearest: VO_START"},
        {"call VO_START --raw 00 outEngNo=1", 3, "data=00"},
        {"call 999 --raw 0x", 3, "999 (the number is not listed) -> REQUEST (0x201)"},
        {"call SET_VO_PARAM --from " + directory.File("fields.json"), 3, "outEngNo=1 param0=7"},
        {"call SET_VO_PARAM --from " + directory.File("bad.json"), 2, "bad.json: "},
        {"call GET_VO_COUNT --json", 0, R"("answer":{"kind":"answer","number":7,)"},
        {"call INIT_UVC", 0, "INIT_UVC -> sent"},
        {"--service NOBODY/VCTL call GET_VO_COUNT", 4, "nobody serves NOBODY.VCTL"},
        {"--service NOBODY call GET_VO_COUNT", 2, "expected PROCESS/TASK"},
        {"--records /nonexistent list records", 2, "/nonexistent: No such file"},
        {"wait VO_PORT_PLUG_STATE port=1 val=1", 0, "100 VO_PORT_PLUG_STATE port=1 val=1\n"},
        {"wait-service --timeout 10", 0, ""},
        {"wait-service --service NOBODY/VCTL --timeout 0.02", 5,
         "NOBODY/VCTL does not serve after 0.02 s: nobody serves NOBODY.VCTL in /"},
        {"wait VO_PORT_PLUG_STATE port=7 --timeout 20", 5, "no such notification within 20 ms"},
        {"monitor --match '*PIXEL*' --count 2 --json", 0, R"("stmNo":1,"portType":16)"},
        {"list results", 0, "516  VESK_SERVICE_ERR_BUSY "},
        {"list --json", 0, R"({"requests":[{"number":0,"name":"INIT","function":"VeskVideoInit")"},
        {"describe GET_VO_PORT", 0,
         "array of VeskVideoVoPortInfo, 2376 bytes each; their number is in ulParam1, shown as"},
        {"describe ENABLE_OVERLAY_PARAM", 0,
         "\n  Shows or hides an overlay.\n  needs      VeskVideoSetOverlayParam has set the channel's"},
        {"describe CAMERA_CONTROL --json", 0, R"(the query, the camera is plugged in.","arguments")"},
        {"describe VeskVideoSubPicParam --json", 0,
         R"({"offset":28,"size":4,"type":"uint32_t","name":"inputId"})"},
        {"describe VeskVideoVoStrat", 2, "nearest: VeskVideoVoStart"},
        {"--peer unknown describe GET_CAPABILITY", 0, "serviceData[2]"},
        {"call --all SET_DEC_PARAM decStmNo=9", 3, "secType=0 serviceData=00000000 strmTyp=0"},
        {"complete -- call SET_VO_Q", 0, "SET_VO_QUE_HANDLE\n"},
        {"complete -- call VO_START ''", 0, "outEngNo=\n"},
        {"complete -- wait DISPLAY_FIRST_FRAME port", 0, "portName=\n"},
        {"complete -- call --time", 0, "--timeout\n"},
        {"complete -- check framing fram", 0, "framing\nframing.array\n"},
        {"list requests", 0,
         "\n\nno part of the interface; between veskctl and the virtual service:\n16384 "},
        {"describe CONTROL_UNPLUG", 0,
         "virtual service\n  Pulls a source or display out; clients are notified."},
        {"call CONTROL_TIME advanceMs=0", 0, "CONTROL_TIME advanceMs=0 -> OK "},
        {"complete -- device fault ''", 0, "add\nclear\nlist\n"},
        {"complete -- device fault add VO_START out", 0, "outEngNo=\n"},
        {"complete -- device fault add VO_START outEngNo=1 result BU", 0, "BUSY\n"},
        {"complete -- device notify DISPLAY_FIRST_FRAME port", 0, "portName=\n"},
        {"complete -- device mode input 0 --pe", 0, "--peer\n"},
        {"complete -- --peer unknown wait --timeout 5 DISPLAY_FI", 0, "DISPLAY_FIRST_FRAME\n"},
        {"complete --describe -- device fault cl", 0, "clear Remove a rule, or all rules\n"},
        {"completion tcsh", 2, "SHELL: "},
        {"", 2, "\n  decode  "},
        {"device fault", 2, "'veskctl device fault COMMAND --help' shows"},
        {"decribe X", 2, "veskctl: there is no command 'decribe'; nearest: describe\n"},
        {"nonsense --help", 2, "there is no command 'nonsense'"},
        {"device fault ad", 2, "there is no command 'device fault ad'; nearest: add\n"},
        {"call VO_START --timout 3", 2, "there is no option '--timout'; nearest: --timeout\n"},
        {"call VO_START --timeout 0", 2, "--timeout: expected a number from 1 to 4294967295, not '0'"},
        {"monitor --count -1", 2, "--count: expected a number from 1, not '-1'"},
        {"monitor --count 1 --match 206 --timeout 1", 5, "0 such notifications within 1 ms, not 1"},
        {"monitor --match port=x", 2, "port=x: expected a number"},
        {"monitor --match prot=1", 2, "there is no field 'prot' in such messages; nearest: port"},
        {"list requsts", 2, "WHAT: expected requests, notifications, records or results, not 'requsts'"},
        {"call VO_START outEngNo=9 2>&1 >/dev/full", 1, "cannot write to standard output: No space left"},
        {"list >/dev/full", 1, "veskctl: cannot write to standard output: No space left on device\n"},
        {"device graph >&-", 1, "cannot write to standard output: Bad file descriptor"},
        {"--help >/dev/full", 1, "cannot write to standard output"},
        {"--version", 0, "veskctl "},
    };
    for (const auto& row : rows) {
        const Result result = Veskctl(row.arguments);
        EXPECT_EQ(result.status, row.status) << row.arguments;
        EXPECT_NE(result.output.find(row.output), std::string::npos)
            << row.arguments << ": " << result.output;
    }
    kill(service.Process(), SIGSTOP);
    for (const char* arguments : {"call GET_VO_COUNT --timeout 50", "wait-service --timeout 0.05"})
        EXPECT_EQ(Veskctl(arguments).status, 5);
    kill(service.Process(), SIGCONT);
}

TEST_F(VeskctlTest, DeviceIsSteered)
{
    const std::string scenario = directory.File("scenario");
    std::ofstream(scenario) << "[[step]]\non = 'GET_VI_COUNT'\n"
                               "do = ['fault clear', 'fault add GET_VO_COUNT result 0x1234']\n";
    std::ofstream(scenario + ".bad") << "[[step]]\nat = 0\ndo = 'fault add'\n";
    const struct {
        std::string arguments;
        int status;
        std::string output;
    } rows[] = {
        {"fault list --json", 0, "[]\n"},
        {"fault add GET_VO_COUNT length -4 --count 1", 0, "fault 1\n"},
        {"fault add GET_VO_COUNT delay 1 --json", 0, "{\"fault\":2}\n"},
        {"fault list", 0,
         "1  GET_VO_COUNT length -4 --count 1  (matched 0, changed 0)\n"
         "2  GET_VO_COUNT delay 1  (matched 0, changed 0)\n"},
        {"fault clear 7", 3, "veskctl: there is no fault 7: NUMBER (0x203)\n"},
        {"fault add GET_VO_COUNT drop", 2,
         "veskctl: drop is an effect of notifications; GET_VO_COUNT is a request"},
        {"fault add", 2, "veskctl: MATCH EFFECT is required\n"},
        {"notify 208", 0, "sent to 0 clients\n"},
        {"time 5", 3, "veskctl: the device's time runs by itself; it can be moved only if"},
        {"notify 208 --to nobody", 3, "veskctl: there is no client 'nobody': NUMBER (0x203)"},
        {"scenario " + scenario + ".bad", 2,
         "veskctl: " + scenario + ".bad:3: step[0].do: MATCH EFFECT is required"},
        {"scenario - < " + scenario, 0, ""},
        {"plug input 1 --mode 640x480@30", 0, ""},
        {"plug input 1", 3, "veskctl: input 1 is plugged in already: STATE (0x205)\n"},
        {"mode input 1 0x1@1", 2, "veskctl: '0x1@1': expected a mode"},
        {"unplug input 1", 0, ""},
        {"unplug input 1", 3, "veskctl: input 1 is unplugged already: STATE (0x205)"},
    };
    for (const auto& row : rows) {
        const Result result = Veskctl("device " + row.arguments);
        EXPECT_EQ(result.status, row.status) << row.arguments;
        EXPECT_TRUE(result.output.starts_with(row.output)) << row.arguments << ": " << result.output;
    }
    const Result script =
        RunScript("GET_VI_COUNT\nexpect 0x1234 GET_VO_COUNT\ndevice notify 208\nwait 208\n"
                  "$rule = device fault add EXIT result OK\ndevice fault list\ndevice state\n"
                  "expect NUMBER\ndevice fault clear 77\n"
                  "device fault clear $rule\ndevice reset\nwait VIDEO_ACTIVATE\nGET_VO_COUNT");
    EXPECT_EQ(script.status, 0) << script.output;
    EXPECT_TRUE(patterns::IsFound(script.output,
                                  "\nfault [0-9]\n[0-9]  .*\n[0-9]  EXIT result OK  .*\nService VIDEO/VCTL"))
        << script.output;
    EXPECT_EQ(service.Wait(SIGTERM), 0);
    const std::string program = VESK_EMULATOR " " VESK_SERVICE_PATH " --scenario ";
    EXPECT_EQ(Shell(program + scenario + ".bad").status, 2);
    Child second = Start(VESK_SERVICE_PATH, "--scenario", scenario.c_str());
    second.ExpectOutput("serving");
    EXPECT_EQ(Veskctl("call GET_VI_COUNT").status, 0);
    EXPECT_EQ(Veskctl("call GET_VO_COUNT").status, 3);
}

TEST_F(VeskctlTest, AMonitorEndsWhenItIsInterrupted)
{
    Child monitor = Start(VESK_VESKCTL_PATH, "monitor", "--match", "206", "--match", "103");
    monitor.ExpectOutput("103 VI_PORT_PIXEL_INFO");
    EXPECT_EQ(service.Wait(SIGTERM), 0);
    monitor.ExpectOutput("206 VIDEO_DIE");
    EXPECT_EQ(monitor.Wait(SIGINT), 0);
}

TEST(WaitService, WaitsForOneThatIsStartedLater)
{
    RuntimeDir directory;
    const std::string missing = directory.File("missing");
    setenv("VESK_RUNTIME_DIR", missing.c_str(), 1);
    Child waiting = Start(VESK_VESKCTL_PATH, "wait-service");
    std::error_code error;
    EXPECT_TRUE(Eventually([&] { return !std::filesystem::is_empty(missing, error) && !error; }));
    const Child service = Start(VESK_SERVICE_PATH);
    EXPECT_EQ(waiting.Wait(), 0);
}

TEST_F(VeskctlTest, ThePromptCompletesAndGoesOnAfterAnError)
{
    setenv("XDG_STATE_HOME", directory.path.c_str(), 1);
    const std::string screen =
        Screen("exec " VESK_EMULATOR " " VESK_VESKCTL_PATH " run", "VO_STRAT\rGET_VO_C\t\rquit\r");
    EXPECT_NE(screen.find("nearest: VO_START"), std::string::npos) << screen;
    EXPECT_NE(screen.find("GET_VO_COUNT -> OK count=2"), std::string::npos) << screen;
    EXPECT_NE(Contents(directory.File("veskctl_history")).find("GET_VO_COUNT"), std::string::npos);
}

TEST(Completion, InEachShell)
{
    if (*VESK_EMULATOR != '\0')
        GTEST_SKIP() << "shells would not run veskctl under the emulator";
    RuntimeDir directory;
    const std::string file = directory.File("recording");
    std::ofstream(file) << "";
    const std::string programs = std::filesystem::path(VESK_VESKCTL_PATH).parent_path();
    const std::pair<std::string, std::string> rows[] = {
        // What is typed before Tab, and what has become of it when "." follows.
        {"call SET_VO_Q", "call SET_VO_QUE_HANDLE ."},
        {"call SET_VO_SRC outEngNo=1 pic", "call SET_VO_SRC outEngNo=1 picNum=."},
        {"device fault add VO_START outEngNo=1 result BU",
         "device fault add VO_START outEngNo=1 result BUSY ."},
        {"trace -o x -- veskct", "trace -o x -- veskctl ."},
        {"with-device veskctl device fa", "with-device veskctl device fault ."},
        {"decode " + directory.File("rec"), "decode " + file + " ."},
        {"call SET_DEFAULT_IMAGE text=" + directory.File("rec"),
         "call SET_DEFAULT_IMAGE text=" + file + " ."},
    };
    const struct {
        const char* name;
        std::string command, typed;
    } shells[] = {
        {"bash", "bash --norc --noprofile -i", "eval \"$(veskctl completion bash)\"\r"},
        {"zsh", "zsh -f -i",
         "bindkey -e; autoload -U compinit; compinit -u -D; eval \"$(veskctl completion zsh)\"\r"},
        {"fish", "fish --no-config -i", "veskctl completion fish | source\r"},
    };
    for (const auto& shell : shells) {
        if (Shell(std::string("command -v ") + shell.name).status != 0)
            continue;
        std::string typed = shell.typed;
        for (const auto& row : rows)
            typed += "veskctl " + row.first +
                     "\t.\x01"
                     "echo 'line'': ' \r"; // before what is there already
        const std::string screen =
            Screen("cd " + directory.path + " && HOME=$PWD PATH=" + programs + ":$PATH exec " + shell.command,
                   typed + "exit\r");
        for (const auto& row : rows)
            EXPECT_NE(screen.find("line:  veskctl " + row.second), std::string::npos)
                << shell.name << ' ' << row.first << '\n'
                << screen;
    }
}
