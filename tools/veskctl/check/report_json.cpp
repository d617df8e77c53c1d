// A run of the conformance suite as JSON.
#include "decoder/json.h"
#include "decoder/text.h"
#include "tools/veskctl/check/report.h"
#include "tools/veskctl/output.h"

namespace vesk::ctl::check {

using decoder::Dump;
using decoder::Object;
using nlohmann::ordered_json;

namespace {

ordered_json TallyJson(const Tally& tally)
{
    ordered_json json = ordered_json::object();
    if (!tally.group.empty())
        json["group"] = tally.group;
    json.update(Object({{"passed", tally.passed},
                        {"warnings", tally.warnings},
                        {"failed", tally.failed},
                        {"skipped", tally.skipped},
                        {"cases", tally.cases},
                        {"notTried", tally.notTried},
                        {"seconds", tally.seconds}}));
    return json;
}

class Json : public Reporter {
public:
    explicit Json(Invocation invocation) : invocation_(std::move(invocation)) {}

    void Ended(const TestResult& result) override
    {
        ordered_json json = Object({{"test", result.test->name}, {"verdict", WordOf(result.verdict)}});
        if (!result.skipReason.empty())
            json["skipReason"] = result.skipReason;
        json["cases"] = result.cases;
        json["notTried"] = result.skipped;
        json["seconds"] = result.seconds;
        if (!result.findings.empty())
            json["reason"] = result.test->reason;
        for (const Finding& finding : result.findings) {
            json["findings"].push_back(
                Object({{"case", finding.subject},
                        {"isWarning", finding.isWarning},
                        {"expected", finding.expected},
                        {"got", finding.got},
                        {"messages", finding.messages},
                        {"repeat", LinesToRepeat(invocation_, *result.test, finding)}}));
        }
        PrintLine(Dump(json));
    }

    void End(const Summary& summary) override
    {
        ordered_json groups = ordered_json::array();
        Tally all;
        for (const Tally& group : GroupsOf(summary))
            groups.push_back(TallyJson(group));
        for (const TestResult& result : summary.results)
            all.Add(result);
        ordered_json json = Object({{"service", summary.service}});
        json.update(TallyJson(all));
        json["groups"] = groups;
        json["left"] = summary.left;
        if (summary.isInterrupted)
            json["interrupted"] =
                Object({{"test", summary.results.back().test->name}, {"putBack", summary.putBack}});
        PrintLine(Dump(json));
    }

private:
    Invocation invocation_;
};

} // namespace

std::unique_ptr<Reporter> JsonReporter(const Invocation& invocation)
{
    return std::make_unique<Json>(invocation);
}

void PrintTestsAsJson(const std::vector<const Test*>& tests)
{
    for (const Test* test : tests)
        PrintLine(Dump(Object({{"test", test->name},
                               {"summary", test->summary},
                               {"reason", test->reason},
                               {"isNoticed", (test->traits & kNoticed) != 0},
                               {"isLong", (test->traits & kLong) != 0},
                               {"restarts", (test->traits & kRestarts) != 0}})));
}

} // namespace vesk::ctl::check
