// The subcommand "check": holds a service against the interface.
#include "tools/veskctl/check/report.h"
#include "tools/veskctl/check/suite.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/table.h"

namespace vesk::ctl {

using namespace check;

namespace {

struct Options {
    std::vector<std::string> names;
    bool isList = false;
    bool isQuick = false;
    bool mayBeNoticed = false;
    std::string profile;
    std::string record;
    std::string restart;
};

void ListTests(const std::vector<const Test*>& tests)
{
    Table table;
    for (const Test* test : tests)
        table.Add({test->name, test->summary});
    table.Print("");
}

int RunCheck(Settings& settings, const Options& options)
{
    const std::vector<const Test*> tests = Usage([&] { return TestsNamed(options.names); });
    if (options.isList) {
        ListTests(tests);
        return kDone;
    }
    const Profile profile =
        options.profile.empty() ? Profile{} : Usage([&] { return ReadProfile(options.profile); });
    Bench bench{.settings = settings,
                .profile = profile,
                .isQuick = options.isQuick,
                .restartCommand = options.restart,
                .recorder = {}};
    if (!options.record.empty())
        bench.recorder.emplace(options.record, ParseService(settings.service));
    Trial::ListenForInterrupts();
    bench.survey = SurveyDevice(bench);
    const std::unique_ptr<Reporter> reporter = PlainReporter();
    reporter->Plan(tests.size());
    Summary summary{.service = settings.service};
    try {
        bool isServing = true;
        for (const Test* test : tests) {
            reporter->Begin(*test);
            const std::string reason =
                isServing ? WhyLeftOut(bench, *test, options.mayBeNoticed) : "the service is gone";
            summary.results.push_back(
                reason.empty()
                    ? Trial(bench, *test).Run()
                    : TestResult{.test = test, .verdict = Verdict::kSkipped, .skipReason = reason});
            const TestResult& result = summary.results.back();
            reporter->Ended(result);
            isServing = isServing && (result.verdict != Verdict::kFailed || IsServing(bench));
        }
    } catch (const Interrupted&) {
        summary.isInterrupted = true;
    }
    summary.left = bench.lasting.Left();
    reporter->End(summary);
    return summary.isInterrupted || summary.Count(Verdict::kFailed) != 0 ? kFailed : kDone;
}

} // namespace

CommandLine CheckCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "check",
        .summary = "Hold a service against the interface, and say what it does not do",
        .footer = "Example:\n"
                  "  veskctl check --list\n"
                  "  veskctl check framing life.start-twice",
        .options =
            {
                {.name = "GROUP|TEST", .place = &options->names, .help = "Only these; default: all tests"},
                {.name = "--list",
                 .place = &options->isList,
                 .help = "Show the tests instead of running them"},
                {.name = "--quick", .place = &options->isQuick, .help = "Leave out what takes long"},
                {.name = "--yes",
                 .place = &options->mayBeNoticed,
                 .help = "Also run tests that people may notice: displays go dark, cameras move"},
                {.name = "--profile",
                 .place = &options->profile,
                 .help = "TOML file that says what the device does differently"},
                {.name = "--record",
                 .place = &options->record,
                 .help = "Keep all messages in this recording"},
                {.name = "--restart",
                 .place = &options->restart,
                 .help = "Shell command that restarts the service, for the tests of that"},
            },
        .run = [options, &settings] { return RunCheck(settings, *options); },
    };
}

} // namespace vesk::ctl
