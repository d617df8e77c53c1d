// How a run of the conformance suite is told: what all forms of it share.
#include "tools/veskctl/check/report.h"

#include <algorithm>

namespace vesk::ctl::check {

size_t Summary::Count(Verdict verdict) const
{
    const auto isIt = [=](const TestResult& result) { return result.verdict == verdict; };
    return static_cast<size_t>(std::count_if(results.begin(), results.end(), isIt));
}

const TestResult* Summary::Find(std::string_view test) const
{
    const auto found = std::find_if(results.begin(), results.end(),
                                    [=](const TestResult& result) { return result.test->name == test; });
    return found == results.end() ? nullptr : &*found;
}

void Tally::Add(const TestResult& result)
{
    switch (result.verdict) {
    case Verdict::kOk:
        ++passed;
        break;
    case Verdict::kWarning:
        ++warnings;
        break;
    case Verdict::kFailed:
        ++failed;
        break;
    case Verdict::kSkipped:
        ++skipped;
        break;
    }
    cases += result.cases;
    notTried += result.skipped;
    seconds += result.seconds;
}

std::vector<Tally> GroupsOf(const Summary& summary)
{
    std::vector<Tally> groups;
    for (const TestResult& result : summary.results) {
        if (groups.empty() || groups.back().group != result.test->Group())
            groups.push_back({.group = result.test->Group()});
        groups.back().Add(result);
    }
    return groups;
}

std::vector<std::string> LinesToRepeat(const Invocation& invocation, const Test& test, const Finding& finding)
{
    const std::vector<std::string>& script = finding.script;
    if (script.empty()) { // it takes several clients
        const std::string recording = std::string(test.name) + ".pcapng";
        return {invocation.tool + " check " + test.name + invocation.options + " --record " + recording,
                invocation.tool + " replay " + recording};
    }
    if (script.size() == 1 && script[0].find('$') == std::string::npos)
        return {invocation.tool + " call " + script[0]};
    std::vector<std::string> lines{invocation.tool + " run <<'END'"};
    lines.insert(lines.end(), script.begin(), script.end());
    lines.emplace_back("END");
    return lines;
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
        return "failed";
    }
}

std::string NotTriedText(const TestResult& result)
{
    if (result.skipped == 0)
        return "";
    return std::to_string(result.skipped) + " not tried" + (result.skipped == 1 ? ": " : ", first ") +
           result.skipReason;
}

std::string LineOf(const Finding& finding)
{
    return (finding.subject.empty() ? "" : finding.subject + ": ") + "expected " + finding.expected +
           ", got " + finding.got;
}

} // namespace vesk::ctl::check
