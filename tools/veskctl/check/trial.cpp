// A test that runs: its cases, clients and messages.
#include "tools/veskctl/check/trial.h"

#include "base/words.h"
#include "decoder/identity.h"
#include "decoder/text.h"
#include "tools/veskctl/check/things.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <csignal>
#include <thread>

namespace vesk::ctl::check {

using namespace decoder;

namespace {

constexpr size_t kMostLogged = 400; // messages of a case; the first are forgotten
constexpr size_t kMostShown = 60;   // of these, the last

volatile std::sig_atomic_t g_isInterrupted = 0;

/// The text of a field's value in a script.
std::string ScriptText(const Decoder& decoder, const Field& field)
{
    if (const uint64_t* number = std::get_if<uint64_t>(&field.value))
        return std::to_string(*number);
    if (const int64_t* number = std::get_if<int64_t>(&field.value))
        return std::to_string(*number);
    const std::string* text = std::get_if<std::string>(&field.value);
    return text != nullptr ? *text : ValueText(decoder, field);
}

/// What numbers are called in a script that the service has handed out, by identity and number.
using Variables = std::map<std::pair<std::string_view, uint64_t>, std::string>;

/// The line of a script that sends these bytes; empty if no line has such a header.
std::string ScriptLine(const Decoder& decoder, const Decoded& request, BytesView data,
                       const Variables& variables)
{
    std::string line = request.Title();
    std::vector<Assignment> header;
    std::vector<Assignment> all;
    std::vector<std::string> payload;
    for (const Field& field : request.fields) {
        const std::string value = ScriptText(decoder, field);
        const uint64_t* number = std::get_if<uint64_t>(&field.value);
        if (field.IsPayload() && !field.IsZero()) {
            payload.push_back(field.path + '=' + value);
        } else if (!field.IsPayload()) {
            const auto known =
                number != nullptr ? variables.find({IdentityOf(field.path), *number}) : variables.end();
            header.push_back({field.path, value});
            line += ' ' + field.path + '=' + (known == variables.end() ? value : '$' + known->second);
        }
        if (!field.IsPayload() || !field.IsZero())
            all.push_back({field.path, value});
    }
    const auto isData = [&](const auto& encode) {
        try {
            const Bytes same = encode();
            return std::equal(same.begin(), same.end(), data.begin(), data.end());
        } catch (const Error&) {
            return false; // no fields have these bytes
        }
    };
    constexpr Direction kRequest = Direction::kRequest;
    if (!isData([&] { return decoder.Encode(kRequest, request.number, all); })) {
        const BytesView rest = data.subspan(std::min(data.size(), sizeof(VeskVideoMsgHead)));
        if (!isData([&] { return decoder.EncodeRaw(kRequest, request.number, header, rest); }))
            return "";
        payload = {"--raw", FoldedHex(rest)};
    }
    return line + (payload.empty() ? "" : ' ' + JoinWords(payload));
}

} // namespace

bool Becomes(std::chrono::milliseconds longest, const std::function<bool()>& isTrue)
{
    using std::chrono::milliseconds;
    const Clock::time_point deadline = Clock::now() + longest;
    for (milliseconds pause(5); !isTrue(); pause = std::min(pause * 2, milliseconds(500))) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

void Trial::ListenForInterrupts()
{
    struct sigaction action {};
    action.sa_handler = [](int) { g_isInterrupted = 1; };
    action.sa_flags = SA_RESTART; // what clients answer, and what is printed, stays whole
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
}

void Trial::ThrowIfInterrupted() const
{
    if (g_isInterrupted != 0 && !bench_.isPuttingBack)
        throw Interrupted{};
}

Trial::Trial(Bench& bench, const Test& test) : bench_(bench), result_{.test = &test} {}

TestResult Trial::Run()
{
    const Clock::time_point begun = Clock::now();
    try {
        Attempt("", [&] { result_.test->run(*this); });
    } catch (const Gone&) {
        result_.findings.push_back(
            {"", "the service to go on", "nobody serves any more, or nobody answers", {}, {}});
    } catch (const Failure& failure) { // of the processes that are its clients
        result_.findings.push_back({"", "the test to come to its end", failure.what(), {}, {}});
    } catch (const Interrupted&) {
        result_.isInterrupted = true;
        result_.skipReason = "interrupted";
    }
    const auto isFailure = [](const Finding& finding) { return !finding.isWarning; };
    if (std::any_of(result_.findings.begin(), result_.findings.end(), isFailure))
        result_.verdict = Verdict::kFailed;
    else if (!result_.findings.empty())
        result_.verdict = Verdict::kWarning;
    else if (result_.cases == 0 || result_.isInterrupted)
        result_.verdict = Verdict::kSkipped;
    result_.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
    return std::move(result_);
}

void Trial::Case(const std::string& subject, const std::function<void()>& body)
{
    EndCase(); // what has come before belongs to no case
    isWhole_ = false;
    Attempt(subject, body);
}

void Trial::Attempt(const std::string& subject, const std::function<void()>& body)
{
    subject_ = subject;
    ShowProgress();
    try {
        body();
        ThrowIfInterrupted(); // what this case has changed is then told
        if (isWhole_ || !subject.empty())
            ++result_.cases;
    } catch (const Unmet& unmet) {
        ++result_.cases;
        Report(unmet);
    } catch (const NotTried& notTried) {
        ++result_.skipped;
        if (result_.skipReason.empty())
            result_.skipReason = (subject.empty() ? "" : subject + ": ") + notTried.reason;
    } catch (...) {
        EndCase();
        throw;
    }
    EndCase();
}

void Trial::EachRequest(const Concerns& concerns, const std::function<void(const messages::Request&)>& body)
{
    for (const messages::Request& request : messages::kRequests) {
        if (request.answer.kind == messages::Kind::kUnanswered || !TheProfile().Has(request.number) ||
            !concerns(request))
            continue;
        Case(std::string(ShortName(request.name)), [&] { body(request); });
    }
}

Actor& Trial::NewClient()
{
    Actor& client = NewProcess();
    client.Announce();
    return client;
}

Actor& Trial::NewProcess(const std::string& name)
{
    ThrowIfInterrupted();
    Actor& actor = actors_.emplace_back(*this, name);
    names_.emplace_back(&actor, "client " + std::to_string(names_.size() + 1));
    return actor;
}

void Trial::Leave(Actor& actor)
{
    Note(actor, "exits");
    RecordExit(actor);
    actors_.remove_if([&](const Actor& one) { return &one == &actor; });
}

void Trial::Expect(bool holds, const std::string& expected, const std::string& got)
{
    if (!holds)
        throw Unmet{expected, got};
}

void Trial::ExpectOk(const Reply& reply)
{
    if (reply.IsRefused() && !TheProfile().Has(reply.request.number))
        Skip("the device has no " + reply.request.Title());
    const bool isWell = !reply.answer || reply.answer->problem.empty();
    if (!reply.IsOk() || !isWell)
        throw Unmet{reply.request.Title() + " to succeed", reply.Text(),
                    reply.IsRefused() ? std::optional(reply.Result()) : std::nullopt};
}

void Trial::ExpectRefused(const Reply& reply, const std::string& why)
{
    Expect(reply.IsRefused(), reply.request.Title() + " to be refused, as " + why, reply.Text());
}

void Trial::Advise(bool holds, const std::string& expected, const std::string& got)
{
    if (!holds)
        Report({expected, got}, true);
}

void Trial::Quietly(const std::function<void()>& body)
{
    struct Quiet {
        bool& isQuiet;
        ~Quiet() { isQuiet = false; }
    } const quiet{isQuiet_};
    isQuiet_ = true;
    body();
}

bool Trial::CanBeTried(const messages::Request& request) const
{
    const Survey& survey = bench_.survey;
    return (!ExampleOf(request).isOfCamera || survey.camera) &&
           (request.number != VESK_VIDEO_MSG_VI_START || survey.pluggedInputs != 0) &&
           (request.number != VESK_VIDEO_MSG_VO_START || survey.pluggedOutputs != 0);
}

void Trial::Sent(const Actor& actor, const Reply& reply, uint32_t number, BytesView data)
{
    ShowProgress();
    if (bench_.recorder && !messages::IsControl(number)) // which no device has
        bench_.recorder->Request(actor, number, data, reply);
    Log({.client = TitleOf(&actor), .text = "", .reply = reply, .data = {data.begin(), data.end()}});
}

void Trial::Received(const Actor& actor, const Notified& notified)
{
    if (bench_.recorder)
        bench_.recorder->Notification(actor, notified.arrived);
    Log({.client = TitleOf(&actor), .text = "", .notified = notified});
}

void Trial::Note(const Actor& actor, const std::string& what)
{
    Log({.client = TitleOf(&actor), .text = what});
}

void Trial::ShowProgress() const
{
    if (bench_.progress != nullptr)
        (*bench_.progress)(0, 0, result_.cases);
}

void Trial::Log(Logged&& logged)
{
    if (isQuiet_)
        return;
    log_.push_back(std::move(logged));
    if (log_.size() > kMostLogged)
        log_.pop_front();
}

void Trial::Report(const Unmet& unmet, bool isWarning)
{
    result_.findings.push_back(
        {subject_, unmet.expected, unmet.got, Messages(), Script(), isWarning, unmet.refusal});
}

std::string Trial::TitleOf(const Actor* actor) const
{
    // Another may have been at the same place, and left.
    const auto found =
        std::find_if(names_.rbegin(), names_.rend(), [&](const auto& name) { return name.first == actor; });
    return found == names_.rend() ? "" : found->second;
}

std::vector<std::string> Trial::Messages()
{
    std::vector<std::string> lines;
    const size_t left = log_.size() - std::min(log_.size(), kMostShown);
    if (left != 0)
        lines.push_back("(" + std::to_string(left) + " before)");
    const bool isOne = names_.size() == 1;
    for (auto one = log_.begin() + static_cast<std::ptrdiff_t>(left); one != log_.end(); ++one) {
        const std::string who = isOne ? "" : one->client + ' ';
        if (one->reply)
            lines.push_back(who + CallLine(Decoder(), *one->reply));
        else if (one->notified)
            lines.push_back(who + "<- " + Line(Decoder(), one->notified->message));
        else
            lines.push_back(one->client + ' ' + one->text);
    }
    return lines;
}

/// Nothing if it takes more than one client, or if the case began with what is forgotten.
std::vector<std::string> Trial::Script()
{
    std::vector<std::string> lines;
    Variables variables;
    std::map<std::string, int> counts;
    if (log_.size() == kMostLogged)
        return {};
    const auto isRequest = [](const Logged& one) { return one.reply.has_value(); };
    const auto last = std::find_if(log_.rbegin(), log_.rend(), isRequest);
    for (auto one = log_.begin(); one != log_.end(); ++one) {
        if (one->client != log_.front().client || (!one->reply && !one->notified))
            return {};
        if (one->notified || one->reply->request.number == VESK_VIDEO_MSG_INIT)
            continue; // the script's own client is announced, and its notifications are shown
        const Reply& reply = *one->reply;
        std::string line = ScriptLine(Decoder(), reply.request, one->data, variables);
        if (line.empty())
            return {};
        const bool isLast = &*one == &*last;
        if (reply.answer && reply.IsOk() && reply.answer->fields.size() == 1 &&
            FindThing(reply.answer->fields[0].path) != nullptr) {
            const std::string name = reply.answer->fields[0].path;
            const int count = ++counts[name];
            const std::string variable = count == 1 ? name : name + std::to_string(count);
            variables[{FindThing(name)->number, reply.Number(name)}] = variable;
            line.insert(0, '$' + variable + " = ");
        } else if (reply.IsRefused() && !isLast) {
            const std::string name(ResultName(reply.Result()));
            line.insert(0, "expect " + (name.empty() ? std::to_string(reply.Result()) : name) + ' ');
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

void Trial::RecordExit(const Actor& actor)
{
    VeskVideoMsgHead head{};
    head.msgId = VESK_VIDEO_MSG_EXIT;
    if (bench_.recorder && actor.WillExit())
        bench_.recorder->Request(actor, head.msgId, BytesOf(head), {});
}

void Trial::EndActors()
{
    for (const Actor& actor : actors_)
        RecordExit(actor);
    actors_.clear();
}

/// The clients of the case leave, what they have changed is put back, and its messages are forgotten.
void Trial::EndCase()
{
    EndActors();
    if (!log_.empty()) // else this ends a test whose last case has ended before
        bench_.putBack.clear();
    if (!bench_.lasting.IsEmpty()) {
        bench_.isPuttingBack = true;
        try {
            bench_.putBack = bench_.lasting.PutBack(NewClient());
        } catch (const Unmet& unmet) {
            bench_.lasting.GiveUp(unmet.got);
        } catch (const NotTried& notTried) {
            bench_.lasting.GiveUp(notTried.reason);
        } catch (const Gone&) {
            bench_.lasting.GiveUp("the service is gone");
        }
        bench_.isPuttingBack = false;
        EndActors();
    }
    names_.clear();
    log_.clear();
}

} // namespace vesk::ctl::check
