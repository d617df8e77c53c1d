// A run of the conformance suite in the Test Anything Protocol, version 14.
#include "decoder/text.h"
#include "tools/veskctl/check/report.h"
#include "tools/veskctl/output.h"

namespace vesk::ctl::check {

using decoder::Quoted;

namespace {

/// A list in YAML; JSON's texts are YAML's, too.
void PrintList(const std::string& name, const std::vector<std::string>& lines)
{
    PrintLine("      " + name + (lines.empty() ? ": []" : ":"));
    for (const std::string& line : lines)
        PrintLine("        - " + Quoted(line));
}

class Tap : public Reporter {
public:
    explicit Tap(Invocation invocation) : invocation_(std::move(invocation)) {}

    void Plan(const std::vector<const Test*>& tests) override
    {
        PrintLine("TAP version 14");
        PrintLine("1.." + std::to_string(tests.size()));
    }

    void Ended(const TestResult& result) override
    {
        const char* ok = result.verdict == Verdict::kFailed ? "not ok " : "ok ";
        const std::string line = ok + std::to_string(++number_) + " - " + result.test->name;
        if (result.verdict == Verdict::kSkipped)
            return PrintLine(line + " # SKIP " + result.skipReason);
        PrintLine(line);
        PrintLine("  ---");
        char duration[40];
        std::snprintf(duration, sizeof duration, "  duration_ms: %.3f", result.seconds * 1000);
        PrintLine(duration);
        PrintLine("  cases: " + std::to_string(result.cases));
        PrintLine("  not_tried: " + std::to_string(result.skipped));
        if (!result.findings.empty()) {
            PrintLine("  because: " + Quoted(result.test->reason));
            PrintLine("  findings:");
        }
        for (const Finding& finding : result.findings) {
            PrintLine("    - case: " + Quoted(finding.subject));
            PrintLine(std::string("      severity: ") + (finding.isWarning ? "warning" : "fail"));
            PrintLine("      expected: " + Quoted(finding.expected));
            PrintLine("      got: " + Quoted(finding.got));
            PrintList("messages", finding.messages);
            PrintList("repeat", LinesToRepeat(invocation_, *result.test, finding));
        }
        PrintLine("  ...");
    }

    void End(const Summary& summary) override
    {
        for (const std::string& left : summary.left)
            PrintLine("# left: " + left);
        for (const std::string& request : summary.putBack)
            PrintLine("# put back by " + request);
        if (summary.isInterrupted)
            PrintLine(std::string("Bail out! Interrupted at ") + summary.results.back().test->name);
    }

private:
    Invocation invocation_;
    size_t number_ = 0;
};

} // namespace

std::unique_ptr<Reporter> TapReporter(const Invocation& invocation)
{
    return std::make_unique<Tap>(invocation);
}

} // namespace vesk::ctl::check
