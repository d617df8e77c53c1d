// veskctl check from a user's side: how it tells of a service that does as it should, and of one that does
// not.
#include "support/patterns.h"
#include "support/processes.h"

#include <csignal>
#include <fstream>

using namespace processes;

namespace {

struct CheckTest : testing::Test {
    RuntimeDir directory;
    Child service = Start(VESK_SERVICE_PATH);

    CheckTest() { service.ExpectOutput("serving"); }

    static Result Veskctl(const std::string& arguments)
    {
        return Shell(VESK_EMULATOR " " VESK_VESKCTL_PATH " " + arguments);
    }

    static void AddFault(const std::string& rule)
    {
        EXPECT_EQ(Veskctl("device fault add " + rule).status, 0);
    }
};

struct Row {
    std::string arguments;
    int status;
    const char* pattern;
};

void Try(std::initializer_list<Row> rows)
{
    for (const Row& row : rows) {
        const Result result = CheckTest::Veskctl("check " + row.arguments);
        EXPECT_EQ(result.status, row.status) << row.arguments;
        EXPECT_TRUE(patterns::IsFound(result.output, row.pattern)) << row.arguments << '\n' << result.output;
    }
}

constexpr char kReadJunit[] = " - 2> /dev/null | python3 -c 'import sys, xml.etree.ElementTree as tree\n"
                              "for suite in tree.parse(sys.stdin).getroot():\n"
                              "  for case in suite:\n"
                              "    print(suite.attrib, case.get(\"name\"), [one.attrib for one in case])'";

} // namespace

TEST_F(CheckTest, FormsOfReports)
{
    const std::string test = "framing.short-payload ";
    const bool hasPython = Shell("command -v python3").status == 0;
    Try({{"notifications.channels --peer unknown", 0, "^ok +notifications.channels "},
         {test, 0, "^ok +framing.short-payload +[0-9]+ cases +[0-9.]+ s\n\ngroup .*\nframing +1 +0 +0 +0 "},
         {test + "--tap", 0, "^TAP version 14\n1..1\nok 1 - framing.short-payload\n  ---\n  duration_ms: "}});
    if (hasPython)
        Try({{test + "--junit" + kReadJunit, 0, "'failures': '0', .* short-payload \\[\\]\n"}});
    AddFault("SET_VO_PARAM result OK");
    Try({{test, 1,
          "FAILED +framing.short-payload .*\n  A service must pass because .*\n  SET_VO_PARAM\n"
          "    expected  SET_VO_PARAM to be refused, as .*\n    got       OK\n    messages  INIT .*\n"},
         {test + "--tap", 1,
          "not ok 1 - framing.short-payload\n  ---\n[^]*\n    - case: \"SET_VO_PARAM\"\n      severity: "
          "fail\n"
          "[^]*\n  [.]{3}\n$"},
         {test + "--tap >/dev/full", 1, "cannot write to standard output"},
         {test + "--junit /dev/full", 1, "cannot write /dev/full"}});
    if (hasPython)
        Try({{test + "--junit" + kReadJunit, 0,
              "'failures': '1', .* short-payload \\[.*'message': 'SET_VO_PARAM: expected .*, got OK'"}});
    const std::string report = Veskctl("check " + test).output;
    const auto scripts = patterns::AllMatches(report, "\nveskctl( run <<'END'\n[^]*?\nEND\n)");
    ASSERT_EQ(scripts.size(), 1U);
    const Result repeated = Veskctl(scripts[0][1]);
    EXPECT_TRUE(patterns::IsFound(repeated.output, "SET_VO_PARAM .* has 0 bytes .* -> OK"))
        << repeated.output;
}

TEST_F(CheckTest, ProfilesAndUsage)
{
    const std::string profile = directory.File("profile");
    std::ofstream(profile + ".request") << "[requests]\nVO_STRAT = 'BUSY'\n";
    std::ofstream(profile + ".code") << "[requests]\nVO_START = 0\n";
    std::ofstream(profile + ".key") << "[notifications]\nunsent = []\nlate = []\n";
    std::ofstream(profile + ".port") << "[ports]\ninputs = [7]\n";
    std::ofstream(profile + ".twice") << "[requests]\nVO_START = 'any'\n27 = 1\n";
    Try({{"framing.shrt-payload", 2,
          "no test or group 'framing.shrt-payload'; nearest: framing.short-payload"},
         {"--tap --json", 2, "--json and --tap cannot both"},
         {"--junit /nonexistent/x", 1, "/nonexistent/x: No such file"},
         {"--service NOBODY/VCTL", 4, "nobody serves NOBODY.VCTL"},
         {"--profile " + profile + ".request", 2, ".request:2: requests.VO_STRAT: .*; nearest: VO_START"},
         {"--profile " + profile + ".code", 2, ".code:2: requests.VO_START: expected 1 to 4294967295, not 0"},
         {"--profile " + profile + ".key", 2, ".key:3: notifications.late: unknown key; expected unsent"},
         {"--profile " + profile + ".port", 2, "the input port 7, which the device does not have"},
         {"--profile " + profile + ".twice", 2, "this request has been given before"}});
    AddFault("GET_SNAPSHOT result REQUEST");
    AddFault("VO_STOP result 0x1234");
    Try({{"framing.example --write-profile " + profile, 1, "GET_SNAPSHOT to succeed"},
         {"framing.example --strict --profile " + profile, 0, "\nframing +1 "}});
    EXPECT_TRUE(patterns::IsFound(Contents(profile), "GET_SNAPSHOT = \"REQUEST\"\n")) << Contents(profile);
}

TEST_F(CheckTest, AnInterruptedRunPutsBack)
{
    AddFault("SET_SR_ENABLE delay 3000 --count 1");
    Child check = Start(VESK_VESKCTL_PATH, "check", "framing.example");
    EXPECT_TRUE(Eventually(
        [] { return Veskctl("device fault list").output.find("matched 1") != std::string::npos; }));
    kill(check.Process(), SIGINT);
    check.ExpectOutput("Interrupted at framing.example; put back by SET_SR_ENABLE.\n");
    EXPECT_EQ(check.Wait(), 1);
}
