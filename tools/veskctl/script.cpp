// The lines of "run": calls, waits and expectations.
#include "tools/veskctl/script.h"

#include "base/words.h"
#include "decoder/filter.h"
#include "steering/commands.h"

#include <algorithm>
#include <regex>

namespace vesk::ctl {

using namespace decoder;

namespace {

constexpr size_t kMostUntaken = 10000;

bool IsAssignment(const std::string& word)
{
    return word.find('=') != word.npos;
}

uint32_t ParseMilliseconds(const std::string& text)
{
    const std::optional<uint64_t> number = ParseNumber(text);
    if (!number || *number > UINT32_MAX)
        throw Error("'" + text + "': expected a number of milliseconds");
    return static_cast<uint32_t>(*number);
}

/// "NAME FIELD=VALUE ..." or "device WORDS"
Prepared PrepareCall(const Decoder& decoder, const std::vector<std::string>& words)
{
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (words[0] == "device") {
        steering::ControlMessage message = steering::ControlMessageOf(decoder, rest);
        return {message.number, true, std::move(message.data)};
    }
    std::vector<Assignment> fields;
    for (const std::string& word : rest)
        fields.push_back(ParseAssignment(word));
    return Prepare(decoder, words[0], fields);
}

Clock::time_point After(uint32_t milliseconds)
{
    return Clock::now() + std::chrono::milliseconds(milliseconds);
}

} // namespace

Session::Session(Settings& settings, Client::Interrupt interrupt, uint32_t timeoutMs)
    : settings_(settings), decoder_(settings.Decoder()), client_(settings.service, interrupt),
      timeoutMs_(timeoutMs)
{
    client_.Announce(timeoutMs);
}

void Session::Execute(const std::string& line)
{
    static const std::regex s_keeping(R"(\s*\$(\w+)\s*=\s*(.+))");
    std::smatch match;
    std::string variable;
    const bool isKeeping = std::regex_match(line, match, s_keeping);
    if (isKeeping)
        variable = match[1];
    WordList words = SplitWords(isKeeping ? match[2].str() : line,
                                [this](std::string_view& rest) { return Substitute(rest); });
    ShowArrived();
    if (words.empty())
        return;
    const std::string verb = words[0];
    if (verb == "call")
        words.erase(words.begin());
    if (words.empty())
        throw Error("call: expected the name of a request");
    if (verb == "expect")
        ExecuteExpect(words, variable);
    else if (isKeeping || verb == "device" ||
             std::find(std::begin(kVerbs), std::end(kVerbs), words[0]) == std::end(kVerbs))
        ExecuteCall(words, variable);
    else if (verb == "wait")
        ExecuteWait(words);
    else if (verb == "sleep")
        ExecuteSleep(words);
    else
        ExecuteCommand(words);
}

void Session::Finish() const
{
    if (expectation_)
        throw Failure(kFailed, "no call follows 'expect " + ResultText(expectation_->code) + "'");
}

/// Takes the name of a variable from the start of @p rest and returns its value.
std::string Session::Substitute(std::string_view& rest) const
{
    std::string name;
    if (rest.starts_with('{')) {
        const size_t end = rest.find('}');
        if (end == rest.npos)
            throw Error('$' + std::string(rest) + ": expected }");
        name = rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
    } else {
        const auto end = std::find_if_not(rest.begin(), rest.end(),
                                          [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
        name.assign(rest.begin(), end);
        rest.remove_prefix(name.size());
    }
    const auto found = variables_.find(name);
    if (found == variables_.end()) {
        std::vector<std::string_view> known;
        for (const auto& [variable, value] : variables_)
            known.push_back(variable);
        throw Error("no answer so far has set $" + name + Nearest(name, known));
    }
    return found->second;
}

void Session::ExecuteCall(const WordList& words, const std::string& variable)
{
    const Call call = Perform(client_, decoder_, PrepareCall(decoder_, words), timeoutMs_);
    PrintLine(settings_.json ? Dump(CallJson(call)) : CallLine(decoder_, call));
    Judge(call);
    if (call.answer)
        Keep(*call.answer, variable);
}

/// Compares the outcome with what is expected: success, unless a line said otherwise.
void Session::Judge(const Call& call)
{
    if (!expectation_)
        return RequireOk(call);
    const Expectation expected = *std::exchange(expectation_, std::nullopt);
    const uint32_t platformResult = call.outcome.platformResult;
    const uint32_t code = platformResult != 0 ? platformResult : call.answer ? call.answer->result : 0;
    if (code != expected.code)
        throw Failure(kFailed, std::string(call.request.name) + " gave " + ResultText(code) + ", expected " +
                                   ResultText(expected.code));
    for (const std::string& condition : expected.conditions) {
        if (!call.answer || !Filter(decoder_, {condition}).Matches(*call.answer))
            throw Failure(kFailed, std::string(call.request.name) + ": expected " + condition);
    }
}

void Session::Keep(const Decoded& answer, const std::string& variable)
{
    const auto text = [&](const Field& field) {
        if (const uint64_t* number = std::get_if<uint64_t>(&field.value))
            return std::to_string(*number);
        const std::string* words = std::get_if<std::string>(&field.value);
        return words != nullptr ? *words : ValueText(decoder_, field);
    };
    for (const Field& field : answer.fields)
        variables_[field.path] = text(field);
    if (variable.empty())
        return;
    if (answer.fields.size() != 1 || !std::holds_alternative<uint64_t>(answer.fields[0].value))
        throw Error('$' + variable + ": the answer to " + std::string(answer.name) + " is not one number");
    variables_[variable] = text(answer.fields[0]);
}

void Session::ExecuteExpect(const WordList& words, const std::string& variable)
{
    if (words.size() < 2)
        throw Error("expect: expected a result code");
    const std::optional<uint32_t> code = FindResult(words[1]);
    if (!code)
        throw Error("expect " + words[1] + ": there is no such result code");
    auto call = std::find_if_not(words.begin() + 2, words.end(), IsAssignment);
    expectation_ = Expectation{*code, {words.begin() + 2, call}};
    if (call != words.end() && *call == "call")
        ++call;
    if (call != words.end())
        ExecuteCall({call, words.end()}, variable);
}

void Session::ExecuteWait(WordList words)
{
    uint32_t timeoutMs = timeoutMs_;
    words.erase(words.begin());
    std::erase_if(words, [&](const std::string& word) {
        if (!word.starts_with("timeout="))
            return false;
        timeoutMs = ParseMilliseconds(word.substr(word.find('=') + 1));
        return true;
    });
    if (words.empty())
        throw Error("wait: expected the name of a notification");
    const Filter filter = Filter::OfNotifications(decoder_, words);
    const Clock::time_point deadline = After(timeoutMs);
    const auto isWanted = [&](const Decoded& notification) { return filter.Matches(notification); };
    while (true) {
        const auto found = std::find_if(untaken_.begin(), untaken_.end(), isWanted);
        if (found != untaken_.end()) {
            untaken_.erase(found);
            return;
        }
        if (!Next(deadline))
            throw Failure(kTimedOut,
                          "no notification '" + words[0] + "' within " + std::to_string(timeoutMs) + " ms");
    }
}

void Session::ExecuteSleep(const WordList& words)
{
    if (words.size() != 2)
        throw Error("sleep: expected a number of milliseconds");
    const Clock::time_point deadline = After(ParseMilliseconds(words[1]));
    while (Next(deadline)) {
    }
}

/// A subcommand that sends nothing.
void Session::ExecuteCommand(const WordList& words)
{
    Settings settings = settings_;
    Run run;
    CLI::App app("", "veskctl");
    Declare(app, settings, run);
    try {
        app.parse(WordList(words.rbegin(), words.rend())); // it takes them from the end
    } catch (const CLI::CallForHelp&) {
        PrintLine(app.help());
        return;
    } catch (const CLI::ParseError& error) {
        throw Error(error.what());
    }
    run();
}

void Session::ShowArrived()
{
    while (Next(Clock::now())) {
    }
}

/// The next notification, which is shown and can be taken by a wait.
std::optional<Arrived> Session::Next(std::optional<Clock::time_point> deadline)
{
    std::optional<Arrived> arrived = client_.Next(deadline);
    if (!arrived) {
        if (client_.IsInterrupted())
            throw Failure(kFailed, "interrupted");
        return arrived;
    }
    Decoded notification = DecodeArrived(decoder_, *arrived);
    PrintLine(settings_.json ? Dump(ArrivedJson(notification, *arrived))
                             : "<- " + Line(decoder_, notification));
    untaken_.push_back(std::move(notification));
    if (untaken_.size() > kMostUntaken)
        untaken_.pop_front();
    return arrived;
}

} // namespace vesk::ctl
