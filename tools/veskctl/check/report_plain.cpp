// A run of the conformance suite as people read it.
#include "tools/veskctl/check/report.h"
#include "tools/veskctl/output.h"

#include <algorithm>

namespace vesk::ctl::check {

namespace {

constexpr size_t kShownInFull = 3;
constexpr size_t kWidth = 100; // of a line of names

class Plain : public Reporter {
public:
    Plain(std::FILE* out, Invocation invocation, bool showsAll)
        : out_(out), invocation_(std::move(invocation)), showsAll_(showsAll)
    {
    }

    void Plan(const std::vector<const Test*>& tests) override
    {
        for (const Test* test : tests)
            nameWidth_ = std::max(nameWidth_, static_cast<int>(std::string_view(test->name).size()));
    }

    void Ended(const TestResult& result) override
    {
        const bool isFailed = result.verdict == Verdict::kFailed;
        const char* word = isFailed ? "FAILED" : WordOf(result.verdict);
        if (result.verdict == Verdict::kSkipped) {
            PutFormatted(out_, "%-8s %-*s  %s", word, nameWidth_, result.test->name,
                         result.skipReason.c_str());
        } else {
            const std::string notTried = NotTriedText(result);
            PutFormatted(out_, "%-8s %-*s %5zu case%s %7.2f s%s%s", word, nameWidth_, result.test->name,
                         result.cases, result.cases == 1 ? " " : "s", result.seconds,
                         notTried.empty() ? "" : "  ", notTried.c_str());
        }
        ShowFindings(result);
    }

    void End(const Summary& summary) override
    {
        PutLine(out_, "");
        PutFormatted(out_, "%-*s %7s %8s %7s %8s %7s %9s %8s", nameWidth_, "group", "passed", "warnings",
                     "failed", "skipped", "cases", "not tried", "seconds");
        const std::vector<Tally> groups = GroupsOf(summary);
        for (const Tally& group : groups)
            Show(group);
        Tally all{.group = "all"};
        for (const TestResult& result : summary.results)
            all.Add(result);
        if (groups.size() > 1)
            Show(all);
        if (summary.isInterrupted)
            ShowInterruption(summary);
        if (!summary.left.empty())
            PutLine(out_, "The run leaves this; what was there before could not be read or put back:");
        for (const std::string& left : summary.left)
            PutLine(out_, "  " + left);
        if (all.cases == 0)
            PutLine(out_, "Nothing has been tested.");
    }

private:
    void Show(const Tally& tally) const
    {
        PutFormatted(out_, "%-*s %7zu %8zu %7zu %8zu %7zu %9zu %8.2f", nameWidth_,
                     std::string(tally.group).c_str(), tally.passed, tally.warnings, tally.failed,
                     tally.skipped, tally.cases, tally.notTried, tally.seconds);
    }

    void ShowInterruption(const Summary& summary) const
    {
        std::string text = std::string("Interrupted at ") + summary.results.back().test->name;
        text += summary.putBack.empty() ? "; nothing was left to put back" : "; put back by";
        for (const std::string& request : summary.putBack)
            text += (&request == &summary.putBack.front() ? " " : ", ") + request;
        PutLine(out_, text + '.');
    }

    void ShowFindings(const TestResult& result) const
    {
        const std::vector<Finding>& findings = result.findings;
        if (!findings.empty())
            PutLine(out_, std::string("  A service must pass because ") + result.test->reason + '.');
        const size_t shown = showsAll_ ? findings.size() : std::min(findings.size(), kShownInFull);
        for (size_t i = 0; i < shown; ++i)
            ShowFinding(*result.test, findings[i]);
        if (shown == findings.size())
            return;
        PutLine(out_, "  and " + std::to_string(findings.size() - shown) + " more, which --verbose shows:");
        std::string line;
        for (size_t i = shown; i < findings.size(); ++i) {
            const std::string name = findings[i].subject + (i + 1 == findings.size() ? "" : ",");
            if (!line.empty() && line.size() + 1 + name.size() > kWidth) {
                PutLine(out_, "   " + line);
                line.clear();
            }
            line += ' ' + name;
        }
        PutLine(out_, "   " + line);
    }

    void ShowFinding(const Test& test, const Finding& finding) const
    {
        if (!finding.subject.empty())
            PutLine(out_, "  " + finding.subject);
        PutLine(out_, (finding.isWarning ? "    advised   " : "    expected  ") + finding.expected);
        PutLine(out_, "    got       " + finding.got);
        for (const std::string& message : finding.messages)
            PutLine(out_,
                    (&message == &finding.messages.front() ? "    messages  " : "              ") + message);
        PutLine(out_, "    repeat it with"); // not indented, so that it can be pasted
        for (const std::string& line : LinesToRepeat(invocation_, test, finding))
            PutLine(out_, line);
    }

    std::FILE* out_;
    Invocation invocation_;
    bool showsAll_;
    int nameWidth_ = 12;
};

} // namespace

std::unique_ptr<Reporter> PlainReporter(std::FILE* out, const Invocation& invocation, bool showsAll)
{
    return std::make_unique<Plain>(out, invocation, showsAll);
}

} // namespace vesk::ctl::check
