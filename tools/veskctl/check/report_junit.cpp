// A run of the conformance suite in JUnit's XML, as systems for CI read it.
#include "base/text.h"
#include "tools/veskctl/check/report.h"
#include "tools/veskctl/output_file.h"

#include <algorithm>
#include <ctime>

namespace vesk::ctl::check {

namespace {

/// A text of one line, as an attribute or between tags. What XML cannot hold is escaped as for people.
std::string Xml(std::string_view text)
{
    std::string xml;
    for (const char c : Printable(text)) {
        switch (c) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':
            xml += "&gt;";
            break;
        case '"':
            xml += "&quot;";
            break;
        default:
            xml += c;
        }
    }
    // The only characters that are left of those that XML does not have.
    for (const char* const none : {"\xef\xbf\xbe", "\xef\xbf\xbf"}) {
        for (size_t at = 0; (at = xml.find(none, at)) != xml.npos;)
            xml.replace(at, 3, "\xef\xbf\xbd");
    }
    return xml;
}

std::string Attribute(const char* name, std::string_view value)
{
    return std::string(" ") + name + "=\"" + Xml(value) + '"';
}

std::string Time(double seconds)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.3f", seconds);
    return Attribute("time", text);
}

/// "2026-11-27T02:50:24"
std::string Now()
{
    const std::time_t now = std::time(nullptr);
    struct tm parts {};
    gmtime_r(&now, &parts);
    char text[40];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    return text;
}

class Junit : public Reporter {
public:
    Junit(const std::string& file, Invocation invocation)
        : file_(file), invocation_(std::move(invocation)), begun_(Now())
    {
        file_.Write(""); // nobody takes an earlier run's for this one's
    }

    void End(const Summary& summary) override
    {
        std::string suites;
        Counted all;
        for (const Tally& group : GroupsOf(summary)) {
            Counted ofGroup;
            std::string cases;
            for (const TestResult& result : summary.results) {
                if (result.test->Group() != group.group)
                    continue;
                ofGroup.Add(result);
                all.Add(result);
                cases += TestCase(result);
            }
            suites += "  <testsuite" + Attribute("name", group.group) + ofGroup.Text() +
                      Attribute("timestamp", begun_) + ">\n" + cases + "  </testsuite>\n";
        }
        file_.Write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"veskctl check\"" +
                    all.Text() + ">\n" + suites + "</testsuites>\n");
    }

private:
    /// A test that was interrupted before it failed has an error, which is neither a failure nor skipped.
    static bool IsError(const TestResult& result)
    {
        return result.isInterrupted && result.verdict == Verdict::kSkipped;
    }

    struct Counted {
        Tally tally;
        size_t tests = 0;
        size_t errors = 0;

        void Add(const TestResult& result)
        {
            tally.Add(result);
            ++tests;
            errors += IsError(result) ? 1 : 0;
        }

        std::string Text() const
        {
            const auto count = [](const char* name, size_t number) {
                return Attribute(name, std::to_string(number));
            };
            return count("tests", tests) + count("failures", tally.failed) + count("errors", errors) +
                   count("skipped", tally.skipped - errors) + Time(tally.seconds);
        }
    };

    std::string TestCase(const TestResult& result) const
    {
        const std::string_view group = result.test->Group();
        std::string inner;
        if (IsError(result))
            inner = "<error type=\"interrupted\" message=\"the run was interrupted in this test\"/>";
        else if (result.verdict == Verdict::kSkipped)
            inner = "<skipped" + Attribute("message", result.skipReason) + "/>";
        else if (result.verdict == Verdict::kFailed)
            inner = "<failure type=\"failed\"" + Attribute("message", Message(result)) + '>' + Text(result) +
                    "</failure>";
        else if (result.verdict == Verdict::kWarning)
            inner = "<system-out>" + Text(result) + "</system-out>";
        return "    <testcase" + Attribute("classname", group) +
               Attribute("name", std::string_view(result.test->name).substr(group.size() + 1)) +
               Time(result.seconds) + '>' + inner + "</testcase>\n";
    }

    /// The first failure, which is all that some readers show, and how many there are.
    static std::string Message(const TestResult& result)
    {
        const auto isFailure = [](const Finding& finding) { return !finding.isWarning; };
        const auto first = std::find_if(result.findings.begin(), result.findings.end(), isFailure);
        const auto count = std::count_if(result.findings.begin(), result.findings.end(), isFailure);
        return LineOf(*first) + (count > 1 ? "; and " + std::to_string(count - 1) + " more" : "");
    }

    std::string Text(const TestResult& result) const
    {
        std::string text;
        const auto add = [&](const std::string& line) { text += Xml(line) + '\n'; };
        for (const Finding& finding : result.findings) {
            add((finding.isWarning ? "warning: " : "") + LineOf(finding));
            add(std::string("because ") + result.test->reason);
            for (const std::string& message : finding.messages)
                add("  " + message);
            for (const std::string& line : LinesToRepeat(invocation_, *result.test, finding))
                add(line);
            add("");
        }
        return text;
    }

    OutputFile file_;
    Invocation invocation_;
    std::string begun_;
};

} // namespace

std::unique_ptr<Reporter> JunitReporter(const std::string& file, const Invocation& invocation)
{
    return std::make_unique<Junit>(file, invocation);
}

} // namespace vesk::ctl::check
