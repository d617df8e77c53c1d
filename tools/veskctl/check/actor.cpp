// A client of the service in a test.
#include "tools/veskctl/check/actor.h"

#include "base/words.h"
#include "decoder/text.h"
#include "platform/os_queue.h"
#include "tools/veskctl/check/things.h"
#include "tools/veskctl/check/trial.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include <unistd.h>

namespace vesk::ctl::check {

using std::chrono::milliseconds;
using namespace decoder;

namespace {

/// How long the service may take to free what another client has just left.
constexpr milliseconds kSettling(1000);

void Required(const Reply& reply)
{
    if (!reply.IsOk())
        throw NotTried{"it needs " + reply.request.Title() + ", which came to " + reply.Text()};
}

/// Takes away what only the virtual service has names for, so that zeros are sent.
void LeaveOpaque(const Decoder& decoder, const std::string& name, std::vector<Assignment>& fields)
{
    const messages::Request* request = FindRequest(name);
    if (request == nullptr)
        return;
    const Listing listing = decoder.Describe(Direction::kRequest, request->number);
    const size_t taken = std::erase_if(fields, [&](const Assignment& field) {
        return !decoder.Locate(listing, field.path).problem.empty();
    });
    if (taken != 0 && request->payload.kind == messages::Kind::kArray) // its only entry stays
        fields.push_back({"[0]." + decoder.PayloadRecord(listing)->fields[0].name, "00"});
}

/// A queue of the queue library, which a client can announce to the service.
uint64_t CreateQueue()
{
    static uint32_t queues = 0;
    OsMemQueReq description{"", 1, 2000};
    std::snprintf(description.name, sizeof description.name, "check_%d_%u", getpid() % 1000000, ++queues);
    uint32_t created = 0;
    if (const uint32_t result = OsShmAdvancedBuffCreateQueue(&description, &created); result != 0)
        throw NotTried{"a queue cannot be created: " + ResultText(result)};
    return created;
}

/// A field that is a number, by its path.
std::optional<uint64_t> NumberAt(const Decoded& message, std::string_view path)
{
    for (const Field& field : message.fields) {
        if (field.path != path)
            continue;
        if (const uint64_t* number = std::get_if<uint64_t>(&field.value))
            return *number;
        if (const int64_t* number = std::get_if<int64_t>(&field.value))
            return static_cast<uint64_t>(*number);
    }
    return std::nullopt;
}

} // namespace

uint32_t Reply::Result() const
{
    if (outcome.platformResult != 0)
        return outcome.platformResult;
    return answer ? answer->result : uint32_t{VESK_VIDEO_OK};
}

bool Reply::IsRefused() const
{
    return outcome.platformResult == 0 && answer && answer->result != VESK_VIDEO_OK;
}

BytesView Reply::Payload() const
{
    const BytesView all = outcome.answer;
    return all.subspan(std::min(all.size(), sizeof(VeskVideoMsgHead)));
}

uint64_t Reply::Number(std::string_view path) const
{
    return answer ? NumberAt(*answer, path).value_or(0) : 0;
}

std::string Reply::Text() const
{
    if (outcome.platformResult != 0)
        return "no answer: " + ResultText(outcome.platformResult);
    if (!answer)
        return "sent";
    return ResultText(answer->result) + (answer->problem.empty() ? "" : ", " + answer->problem);
}

std::optional<uint64_t> Notified::Field(std::string_view path) const
{
    return NumberAt(message, path);
}

Actor::Actor(Trial& trial, const std::string& name)
    : trial_(trial), client_(trial.TheBench().settings.service, name)
{
}

Actor::~Actor()
{
    if (client_.Process() <= 0)
        return;
    if (isBusy_)
        client_.Kill();
    else
        client_.Resume();
}

std::string Actor::InitLine() const
{
    return "INIT procName=" + Name() + " taskName=" + kOwnTaskName;
}

void Actor::Announce()
{
    const Reply reply = Send(InitLine());
    if (reply.outcome.platformResult != 0)
        throw Gone{};
    trial_.ExpectOk(reply);
}

Reply Actor::Send(const std::string& line)
{
    const Prepared request = Encode(line);
    return Send(request.number, request.data);
}

Reply Actor::Send(uint32_t number, BytesView data, uint32_t timeoutMs)
{
    Begin(number, data, timeoutMs);
    return Finish();
}

Reply Actor::Need(const std::string& line)
{
    Reply reply = Send(line);
    Required(reply);
    return reply;
}

uint64_t Actor::The(const std::string& variable)
{
    if (const auto found = variables_.find(variable); found != variables_.end())
        return found->second;
    const std::string name = variable == "engNo"                            ? "inEngNo"
                             : variable == "port" || variable == "sourceId" ? "viPort"
                                                                            : variable;
    const Survey& survey = trial_.TheSurvey();
    if (name != variable)
        return The(name);
    if (name == "viPort" || name == "voPort") {
        const std::vector<uint32_t>& ports = name == "viPort" ? survey.inputs : survey.outputs;
        if (ports.empty())
            throw NotTried{name == "viPort" ? "there is no input port" : "there is no output port"};
        return ports[0];
    }
    if (name == "newQueue")
        return CreateQueue();
    if (name == "newPreset")
        return survey.newPreset;
    if (name == "newOverlay")
        return 1;
    const Thing* thing = FindThing(name);
    if (thing == nullptr)
        throw Error("there is no $" + name);
    std::set<std::string>& unavailable = trial_.TheBench().unavailable;
    Reply reply;
    Becomes(unavailable.contains(name) ? milliseconds(0) : kSettling, [&] {
        reply = TryCreate(*thing);
        return !reply.IsRefused() || !trial_.TheProfile().Has(reply.request.number);
    });
    if (reply.IsRefused())
        unavailable.insert(name);
    Required(reply);
    if (!variables_.contains(name))
        throw NotTried{"no " + name + " has been answered"};
    return variables_[name];
}

Reply Actor::TryCreate(const Thing& thing)
{
    const std::vector<std::string> lines = LinesOf(thing.create);
    std::for_each(lines.begin(), lines.end() - 1, [this](const std::string& line) { Need(line); });
    Reply reply = Send(lines.back());
    if (!reply.IsOk())
        return reply;
    // Some numbers are handed out, others are chosen by whoever creates the thing.
    const std::string name(thing.number);
    variables_.erase(name);
    const Decoded& named =
        reply.answer && reply.Payload().size() >= 4 && name != "overlayChn" ? *reply.answer : reply.request;
    for (const Field& field : named.fields) {
        if (field.path == name)
            variables_[name] = std::get<uint64_t>(field.value);
    }
    return reply;
}

std::string Actor::Substituted(std::string_view& rest)
{
    const auto end = std::find_if_not(
        rest.begin(), rest.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; });
    const std::string name(rest.begin(), end);
    rest.remove_prefix(name.size());
    return std::to_string(The(name));
}

Prepared Actor::Encode(const std::string& line)
{
    const std::vector<std::string> words =
        SplitWords(line, [this](std::string_view& rest) { return Substituted(rest); });
    std::vector<Assignment> fields;
    for (size_t i = 1; i < words.size(); ++i)
        fields.push_back(ParseAssignment(words[i]));
    if (trial_.TheBench().settings.peer != "virtual")
        LeaveOpaque(trial_.Decoder(), words[0], fields);
    return Prepare(trial_.Decoder(), words[0], fields);
}

Bytes Actor::Example(const messages::Request& request, Needs needs)
{
    const check::Example example = ExampleOf(request);
    if (!trial_.CanBeTried(request))
        throw NotTried{"there is no camera, or nothing is plugged in"};
    std::vector<std::string> before = LinesOf(example.needs);
    if (needs == Needs::kAllButLast && !before.empty())
        before.pop_back();
    for (const std::string& line : before)
        Need(line);
    if (request.number == VESK_VIDEO_MSG_INIT)
        return Encode(InitLine()).data;
    std::string line(ShortName(request.name));
    const std::string fields = ' ' + std::string(example.fields);
    const Listing listing = trial_.Decoder().Describe(Direction::kRequest, request.number);
    const bool isArray = request.payload.kind == messages::Kind::kArray;
    for (const HeaderArgument& argument : listing.arguments) {
        const std::string name(argument.name);
        const bool isCount = isArray && argument.field == request.payload.count;
        if (!argument.isListed || fields.find(' ' + name + '=') != fields.npos ||
            (isCount && fields.find(" [0]") != fields.npos))
            continue;
        const bool isNumber = FindThing(name) != nullptr || IsPort(name) || name == "engNo";
        line += ' ' + name + (isNumber ? "=$" + name : isCount ? "=0" : "=1");
    }
    line += fields;
    if (request.payload.kind == messages::Kind::kText && fields.find(" text=") == fields.npos)
        line += " text=/check";
    return Encode(line).data;
}

void Actor::RequireUnnoticed(uint32_t number, BytesView data) const
{
    const Bench& bench = trial_.TheBench();
    if (!bench.mayBeNoticed && !bench.isPuttingBack && IsNoticed(number, data))
        throw NotTried{"people may notice " +
                       std::string(trial_.Decoder().Describe(Direction::kRequest, number).name) +
                       ": give --yes to try it"};
}

void Actor::Begin(uint32_t number, BytesView data, uint32_t timeoutMs)
{
    trial_.ThrowIfInterrupted();
    RequireUnnoticed(number, data);
    trial_.TheBench().lasting.Before(*this, number, data);
    willExit_ = number != VESK_VIDEO_MSG_EXIT;
    begun_ = Prepared{number, IsAnswered(number), {data.begin(), data.end()}};
    client_.BeginSend(number, data, begun_->isAnswered, timeoutMs);
}

Reply Actor::Finish()
{
    const Prepared request = std::move(*std::exchange(begun_, std::nullopt));
    Reply reply;
    reply.outcome = client_.FinishSend();
    const Decoder& decoder = trial_.Decoder();
    reply.request = decoder.Decode({Direction::kRequest, request.number, request.data});
    if (request.isAnswered && reply.outcome.platformResult == 0)
        reply.answer = decoder.Decode({Direction::kAnswer, request.number, reply.outcome.answer});
    trial_.Sent(*this, reply, request.number, request.data);
    if (reply.IsOk() || reply.Result() == FindResult("HOST_MSG_ERR_TIMEOUT")) // it may be served yet
        trial_.TheBench().lasting.Accepted(trial_.Decoder(), request.number, request.data);
    return reply;
}

void Actor::BeginMany(uint32_t number, BytesView data, size_t count, uint32_t timeoutMs)
{
    trial_.ThrowIfInterrupted();
    RequireUnnoticed(number, data);
    isBusy_ = true;
    trial_.Note(*this, "sends " + std::to_string(count) + " times " +
                           std::string(trial_.Decoder().Describe(Direction::kRequest, number).name));
    client_.BeginRepeat(number, data, IsAnswered(number), timeoutMs, static_cast<uint32_t>(count));
}

std::vector<float> Actor::FinishMany()
{
    while (!client_.HasAnswered(milliseconds(200)))
        trial_.ThrowIfInterrupted();
    isBusy_ = false;
    return client_.FinishRepeat();
}

void Actor::Receive(milliseconds longest)
{
    for (const auto deadline = Clock::now() + longest;;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        // an interrupt is not kept waiting
        const auto arrived = client_.Next(std::clamp(left, milliseconds(0), milliseconds(200)));
        if (arrived) {
            arrived_.push_back({DecodeArrived(trial_.Decoder(), *arrived), *arrived});
            trial_.Received(*this, arrived_.back());
            return;
        }
        trial_.ThrowIfInterrupted();
        if (left <= milliseconds(0))
            return;
    }
}

std::optional<Notified> Actor::Await(const Wanted& isWanted, milliseconds longest)
{
    const auto deadline = Clock::now() + longest;
    for (size_t seen = 0;; ++seen) {
        if (seen == arrived_.size())
            Receive(std::chrono::ceil<milliseconds>(deadline - Clock::now()));
        if (seen == arrived_.size())
            return std::nullopt;
        if (!isWanted(arrived_[seen]))
            continue;
        Notified wanted = std::move(arrived_[seen]);
        arrived_.erase(arrived_.begin() + static_cast<std::ptrdiff_t>(seen));
        return wanted;
    }
}

std::optional<Notified> Actor::Await(uint32_t number, milliseconds longest)
{
    return Await([=](const Notified& one) { return one.Number() == number; }, longest);
}

std::vector<Notified> Actor::TakeAll(milliseconds wait)
{
    const auto deadline = Clock::now() + wait;
    for (size_t before = arrived_.size();; before = arrived_.size()) {
        Receive(std::chrono::ceil<milliseconds>(deadline - Clock::now()));
        if (arrived_.size() == before)
            break;
    }
    std::vector<Notified> all(std::make_move_iterator(arrived_.begin()),
                              std::make_move_iterator(arrived_.end()));
    arrived_.clear();
    return all;
}

void Actor::End()
{
    trial_.Note(*this, "ends");
    client_.End();
}

void Actor::Kill()
{
    trial_.Note(*this, "is killed");
    client_.Kill();
}

void Actor::Pause()
{
    trial_.Note(*this, "is held up");
    client_.Pause();
}

void Actor::Resume()
{
    trial_.Note(*this, "goes on");
    client_.Resume();
}

} // namespace vesk::ctl::check
