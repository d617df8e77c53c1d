// The subcommand "check": holds a service against the interface.
#include "base/words.h"
#include "tools/veskctl/check/profile_draft.h"
#include "tools/veskctl/check/report.h"
#include "tools/veskctl/check/suite.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/output_file.h"
#include "tools/veskctl/table.h"

#include <sys/resource.h>

namespace vesk::ctl {

using namespace check;

namespace {

struct Options {
    std::vector<std::string> names;
    bool isList = false;
    bool isQuick = false;
    bool mayBeNoticed = false;
    bool isStrict = false;
    bool isVerbose = false;
    bool isTap = false;
    std::string junit;
    std::string profile;
    std::string profileDraft;
    std::string record;
    std::string restart;
};

/// What makes a test one that not every run includes.
std::string ConditionsOf(const Test& test)
{
    std::string conditions;
    for (const auto& [trait, option] :
         {std::pair(kNoticed, "--yes"), {kLong, "not --quick"}, {kRestarts, "--restart"}}) {
        if ((test.traits & trait) != 0)
            conditions += (conditions.empty() ? "" : ", ") + std::string(option);
    }
    return conditions;
}

void ListTests(const std::vector<const Test*>& tests)
{
    Table table;
    for (const Test* test : tests)
        table.Add({test->name, ConditionsOf(*test), test->summary});
    table.Print("");
}

/// Which option's output is standard output; empty: the text for people. @throw Failure if several are
std::string OwnerOfOutput(const Settings& settings, const Options& options)
{
    std::string owner;
    for (const auto& [name, isOwner] : {std::pair("--json", settings.json),
                                        {"--tap", options.isTap},
                                        {"--junit", options.junit == "-"},
                                        {"--write-profile", options.profileDraft == "-"},
                                        {"--record", options.record == "-"}}) {
        if (isOwner && !owner.empty())
            throw Failure(kUsage, owner + " and " + name + " cannot both write to standard output");
        owner = isOwner ? name : owner;
    }
    return owner;
}

Invocation InvocationOf(const Settings& settings, const Options& options)
{
    std::vector<std::string> tool{"veskctl"};
    std::vector<std::string> ofCheck;
    const auto add = [](std::vector<std::string>& words, const char* option, const std::string& value) {
        words.insert(words.end(), {option, value});
    };
    const Settings usual;
    if (settings.service != usual.service)
        add(tool, "--service", settings.service);
    if (settings.peer != usual.peer)
        add(tool, "--peer", settings.peer);
    for (const std::string& file : settings.recordFiles)
        add(tool, "--records", file);
    if (options.mayBeNoticed)
        ofCheck.emplace_back("--yes");
    if (!options.profile.empty())
        add(ofCheck, "--profile", options.profile);
    if (!options.restart.empty())
        add(ofCheck, "--restart", options.restart);
    return {JoinWords(tool), ofCheck.empty() ? "" : ' ' + JoinWords(ofCheck)};
}

/// All forms in which this run is told.
class Reporters {
public:
    Reporters(const Settings& settings, const Options& options)
    {
        const std::string owner = OwnerOfOutput(settings, options);
        const Invocation invocation = InvocationOf(settings, options);
        if (owner == "--json")
            all_.push_back(JsonReporter(invocation));
        else if (owner == "--tap")
            all_.push_back(TapReporter(invocation));
        else
            all_.push_back(PlainReporter(owner.empty() ? stdout : stderr, invocation, options.isVerbose));
        if (!options.junit.empty())
            all_.push_back(JunitReporter(options.junit, invocation));
    }

    template <class... Parameters, class... Values>
    void Tell(void (Reporter::*what)(Parameters...), const Values&... values)
    {
        for (const std::unique_ptr<Reporter>& one : all_)
            (one.get()->*what)(values...);
        Flush();
    }

private:
    std::vector<std::unique_ptr<Reporter>> all_;
};

/// Runs a test, or says why it is left out.
TestResult RunTest(Bench& bench, const Test& test, const std::string& leftOut)
{
    if (!leftOut.empty())
        return {.test = &test, .verdict = Verdict::kSkipped, .skipReason = leftOut};
    return Trial(bench, test).Run();
}

Summary RunTests(Bench& bench, const std::vector<const Test*>& tests, Reporters& reporters)
{
    Summary summary{.service = bench.settings.service};
    bool isServing = true;
    for (size_t i = 0; i < tests.size() && !summary.isInterrupted; ++i) {
        const Test& test = *tests[i];
        {
            Progress progress('[' + std::to_string(i + 1) + '/' + std::to_string(tests.size()) + "] " +
                                  test.name,
                              "cases", true, std::chrono::milliseconds(0));
            bench.progress = &progress;
            summary.results.push_back(
                RunTest(bench, test, isServing ? WhyLeftOut(bench, test) : "the service is gone"));
            bench.progress = nullptr;
        }
        const TestResult& result = summary.results.back();
        summary.isInterrupted = result.isInterrupted;
        if (result.isInterrupted)
            summary.putBack = bench.putBack;
        reporters.Tell(&Reporter::Ended, result);
        try {
            isServing =
                isServing && (result.verdict != Verdict::kFailed || result.isInterrupted || IsServing(bench));
        } catch (const Interrupted&) {
            summary.isInterrupted = true;
        }
    }
    summary.left = bench.lasting.Left();
    return summary;
}

int StatusOf(const Summary& summary, bool isStrict)
{
    if (summary.isInterrupted || summary.Count(Verdict::kFailed) != 0)
        return kFailed;
    const bool isPassed =
        summary.Count(Verdict::kWarning) == 0 && summary.Count(Verdict::kSkipped) < summary.results.size();
    return isStrict && !isPassed ? kFailed : kDone;
}

int RunCheck(Settings& settings, const Options& options)
{
    const std::vector<const Test*> tests = Usage([&] { return TestsNamed(options.names); });
    if (options.isList) {
        if (settings.json)
            PrintTestsAsJson(tests);
        else
            ListTests(tests);
        return kDone;
    }
    const Profile profile =
        options.profile.empty() ? Profile{} : Usage([&] { return ReadProfile(options.profile); });
    rlimit descriptors{};
    if (getrlimit(RLIMIT_NOFILE, &descriptors) == 0) { // each client takes some
        descriptors.rlim_cur = descriptors.rlim_max;
        setrlimit(RLIMIT_NOFILE, &descriptors);
    }
    Bench bench{.settings = settings,
                .profile = profile,
                .isQuick = options.isQuick,
                .mayBeNoticed = options.mayBeNoticed,
                .restartCommand = options.restart,
                .recorder = {}};
    Reporters reporters(settings, options);
    std::optional<OutputFile> draft;
    if (!options.profileDraft.empty())
        draft.emplace(options.profileDraft);
    if (!options.record.empty())
        bench.recorder.emplace(options.record, ParseService(settings.service));
    bench.survey = SurveyDevice(bench);
    bench.mayBeNoticed = bench.mayBeNoticed || bench.survey.isVirtual;
    RequirePorts(bench);
    Trial::ListenForInterrupts();
    reporters.Tell(&Reporter::Plan, tests);
    const Summary summary = RunTests(bench, tests, reporters);
    reporters.Tell(&Reporter::End, summary);
    if (draft)
        draft->Write(DraftProfile(bench, summary));
    return StatusOf(summary, options.isStrict);
}

} // namespace

CommandLine CheckCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "check",
        .summary = "Hold a service against the interface, and say what it does not do",
        .footer = "Exit status: 0 nothing has failed, 1 something has or the run was interrupted, 2 usage, "
                  "4 no service.\n\n"
                  "Example:\n"
                  "  veskctl check --list\n"
                  "  veskctl check framing life.start-twice\n"
                  "  veskctl check --yes --junit check.xml\n"
                  "  veskctl check --yes --write-profile device.toml\n"
                  "  veskctl check --yes --profile device.toml --strict\n"
                  "  veskctl with-device -- veskctl check --quick",
        .options =
            {
                {.name = "GROUP|TEST",
                 .place = &options->names,
                 .help = "Only these; default: all tests",
                 .names = Names::kTest},
                {.name = "--list",
                 .place = &options->isList,
                 .help = "Show the tests, and which options they need, instead of running them"},
                {.name = "--quick", .place = &options->isQuick, .help = "Leave out what takes long"},
                {.name = "--yes",
                 .place = &options->mayBeNoticed,
                 .help = "Also run tests that people may notice: displays go dark, cameras move. On the "
                         "virtual device they are always run"},
                {.name = "--strict",
                 .place = &options->isStrict,
                 .help = "Fail also if there are warnings, or if all tests are skipped"},
                {.name = "--verbose",
                 .place = &options->isVerbose,
                 .help = "Show all failed cases of a test in full, not only three"},
                {.name = "--tap",
                 .place = &options->isTap,
                 .help = "Print the Test Anything Protocol instead of text for people"},
                {.name = "--junit",
                 .place = &options->junit,
                 .help = "Also write JUnit's XML to this file; - is standard output"},
                {.name = "--profile",
                 .place = &options->profile,
                 .help = "TOML file that says what the device does not have"},
                {.name = "--write-profile",
                 .place = &options->profileDraft,
                 .help = "Suggest such a file, from what this run sees; - is standard output"},
                {.name = "--record",
                 .place = &options->record,
                 .help = "Keep all messages in this recording; - is standard output"},
                {.name = "--restart",
                 .place = &options->restart,
                 .help = "Shell command that restarts the service, for the tests of that"},
            },
        .run = [options, &settings] { return RunCheck(settings, *options); },
    };
}

} // namespace vesk::ctl
