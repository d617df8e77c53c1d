// A profile as a run suggests it.
#include "tools/veskctl/check/profile_draft.h"

#include "base/text.h"
#include "decoder/names.h"
#include "vesk_service/virtual_service.h"

#include <algorithm>

namespace vesk::ctl::check {

using namespace decoder;

namespace {

/// What the tests of notifications say that they got if nothing came.
constexpr char kNothing[] = "none";

std::string NameOrNumber(const auto* message, uint32_t number)
{
    return message == nullptr ? std::to_string(number) : std::string(ShortName(message->name));
}

std::string RequestText(uint32_t number)
{
    return NameOrNumber(messages::FindRequest(number), number);
}

/// A code as a profile has it; one without a name is hexadecimal.
std::string CodeText(std::optional<uint32_t> code)
{
    if (!code)
        return "\"any\"";
    const std::string_view name = ResultName(*code);
    return name.empty() ? ResultText(*code) : '"' + std::string(name) + '"';
}

/// Whether a refusal can mean that the device does not have the request: it says so, or nobody knows what it
/// says.
bool MayBeMissing(uint32_t code)
{
    return code == VESK_SERVICE_ERR_REQUEST || ResultName(code).empty();
}

class Draft {
public:
    explicit Draft(const Profile& given) : given_(given) {}

    /// A line, which may have a comment. @param isSure  False: the whole line is one.
    void Add(const std::string& line, const std::string& comment = "", bool isSure = true)
    {
        text_ += (isSure ? "" : "# ") + line + (comment.empty() ? "" : "  # " + Printable(comment)) + '\n';
    }

    void AddPorts(const char* name, const std::vector<uint32_t>& ports, size_t plugged)
    {
        std::string line;
        for (const uint32_t port : ports)
            line += (line.empty() ? "" : ", ") + std::to_string(port);
        if (!ports.empty())
            Add(std::string(name) + " = [" + line + ']',
                "the first " + std::to_string(plugged) + " are plugged in");
    }

    void AddRequests(const TestResult* example)
    {
        Add("\n# Requests that the device does not have, and how it refuses them.\n[requests]");
        for (const auto& [number, code] : given_.missing)
            Add(RequestText(number) + " = " + CodeText(code), "as before");
        if (example == nullptr || example->verdict == Verdict::kSkipped)
            return Add("framing.example has not been run, so nothing is known of others.", "", false);
        for (const Finding& finding : example->findings) {
            if (finding.refusal && FindRequest(finding.subject) != nullptr)
                Add(finding.subject + " = " + CodeText(finding.refusal),
                    MayBeMissing(*finding.refusal) ? "" : "this code may mean something else",
                    MayBeMissing(*finding.refusal));
        }
    }

    void AddNotifications(const Summary& summary)
    {
        Add("\n# Notifications that it does not send.\n[notifications]\nunsent = [");
        for (const uint32_t number : given_.unsentNotifications)
            AddNotification(number, "as before");
        std::set<uint32_t> seen = given_.unsentNotifications;
        for (const TestResult& result : summary.results) {
            for (const Finding& finding : result.findings) {
                const std::string first = finding.subject.substr(0, finding.subject.find(' '));
                const messages::Notification* absent = FindNotification(first);
                if (result.test->Group() == "notifications" && absent != nullptr && finding.got == kNothing &&
                    seen.insert(absent->number).second)
                    AddNotification(absent->number, std::string(result.test->name) + ": " + finding.subject);
            }
        }
        Add("]");
    }

    const std::string& Text() const { return text_; }

private:
    void AddNotification(uint32_t number, const std::string& comment)
    {
        Add("  \"" + NameOrNumber(messages::FindNotification(number), number) + "\",", comment);
    }

    const Profile& given_;
    std::string text_;
};

} // namespace

std::string DraftProfile(const Bench& bench, const Summary& summary)
{
    const Survey& survey = bench.survey;
    Draft draft(bench.profile);
    draft.Add("# What the device of " + Printable(summary.service) +
              " lacks, as a run of veskctl check has seen it: a draft.\n" +
              (summary.isInterrupted ? "# The run was interrupted.\n" : "") + "\n[ports]");
    draft.AddPorts("inputs", survey.inputs, survey.pluggedInputs);
    draft.AddPorts("outputs", survey.outputs, survey.pluggedOutputs);
    if (bench.profile.camera)
        draft.Add("camera = " + std::to_string(*bench.profile.camera), "as before");
    draft.AddRequests(summary.Find("framing.example"));
    draft.AddNotifications(summary);
    return draft.Text();
}

} // namespace vesk::ctl::check
