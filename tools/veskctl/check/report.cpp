// How a run of the conformance suite is told to people.
#include "tools/veskctl/check/report.h"

#include "tools/veskctl/output.h"

#include <algorithm>

namespace vesk::ctl::check {

namespace {

class Plain : public Reporter {
public:
    void Plan(size_t) override {}

    void Ended(const TestResult& result) override
    {
        char line[160];
        std::snprintf(line, sizeof line, "%-8s %-36s %4zu cases %7.2f s", WordOf(result.verdict),
                      result.test->name, result.cases, result.seconds);
        std::string text = line;
        if (!result.skipReason.empty())
            text += "  (" + std::to_string(result.skipped) + " not tried: " + result.skipReason + ")";
        PrintLine(text);
        for (const Finding& finding : result.findings) {
            PrintLine("  " + (finding.subject.empty() ? "" : finding.subject + ": ") + "expected " +
                      finding.expected);
            PrintLine("    got       " + finding.got);
            PrintLine(std::string("    because   ") + result.test->reason);
            for (const std::string& message : finding.messages)
                PrintLine("    | " + message);
            for (const std::string& scriptLine : finding.script)
                PrintLine("    $ " + scriptLine);
        }
    }

    void End(const Summary& summary) override
    {
        for (const std::string& left : summary.left)
            PrintLine("not as before: " + left);
    }
};

} // namespace

size_t Summary::Count(Verdict verdict) const
{
    const auto isIt = [=](const TestResult& result) { return result.verdict == verdict; };
    return static_cast<size_t>(std::count_if(results.begin(), results.end(), isIt));
}

const char* WordOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::kOk:
        return "ok";
    case Verdict::kWarning:
        return "warning";
    case Verdict::kSkipped:
        return "skipped";
    default:
        return "FAILED";
    }
}

std::unique_ptr<Reporter> PlainReporter()
{
    return std::make_unique<Plain>();
}

} // namespace vesk::ctl::check
