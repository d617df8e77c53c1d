// The lines of "run": calls, waits and expectations.
#include "tools/veskctl/script.h"

#include "base/nearest.h"
#include "base/words.h"
#include "decoder/filter.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/modules.h"
#include "tools/veskctl/output.h"

#include <algorithm>
#include <cctype>

namespace vesk::ctl {

using namespace decoder;

namespace {

constexpr size_t kMostUntaken = 10000;

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

/// True for what the name of a variable consists of.
bool IsOfName(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

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

/// Takes "$name =" from the start of a line and returns the name. Nothing if the line begins otherwise.
std::optional<std::string> TakeVariable(std::string_view& line)
{
    const auto skip = [](std::string_view text, bool (*isSkipped)(char)) {
        const auto end = std::find_if_not(text.begin(), text.end(), isSkipped);
        return text.substr(static_cast<size_t>(end - text.begin()));
    };
    const std::string_view start = skip(line, IsBlank);
    if (!start.starts_with('$'))
        return std::nullopt;
    const std::string_view afterName = skip(start.substr(1), IsOfName);
    const std::string_view name = start.substr(1, start.size() - afterName.size() - 1);
    const std::string_view afterBlanks = skip(afterName, IsBlank);
    if (name.empty() || !afterBlanks.starts_with('=') || skip(afterBlanks.substr(1), IsBlank).empty())
        return std::nullopt;
    line = afterBlanks.substr(1);
    return std::string(name);
}

Clock::time_point After(uint32_t milliseconds)
{
    return Clock::now() + std::chrono::milliseconds(milliseconds);
}

CommandLine DescribeExpectPicture(Settings& settings, ExpectedPicture& expected)
{
    return {
        .name = "expect-picture",
        .summary = "Compare what a display shows with the picture in a file",
        .footer = "Example:\n"
                  "  expect-picture 0 expected/first-frame.png\n"
                  "  expect-picture 0 expected/first-frame.png --at 0 --size 640x --tolerance 0\n\n"
                  "If they differ, NAME-actual.png and NAME-differs.png are left beside NAME.png. With\n"
                  "'veskctl run --update', a file that is missing or differs is written.",
        .options =
            {
                {.name = "DISPLAY",
                 .place = &expected.display,
                 .help = "Output port of the display",
                 .isRequired = true},
                {.name = "FILE", .place = &expected.file, .help = "PNG or JPEG", .isRequired = true},
                {.name = "--tolerance",
                 .place = &expected.tolerance,
                 .help = "How far they may differ, per cent; as in 'veskctl device compare'",
                 .showsDefault = true,
                 .range = std::pair(0.0, 100.0)},
                {.name = "--size",
                 .place = &expected.size,
                 .help = "Size of the picture, as in 'veskctl device screenshot'"},
                {.name = "--at",
                 .place = &expected.atMs,
                 .help = "Draw what it shows at this time of the device, in milliseconds"},
            },
        .run =
            [&settings, &expected] {
                Pictures().expect(settings, expected);
                return kDone;
            },
    };
}

} // namespace

Session::Session(Settings& settings, Client::Interrupt interrupt, const Options& options)
    : settings_(settings), decoder_(settings.Decoder()), client_(settings.service, interrupt),
      options_(options)
{
    client_.Announce(options.timeoutMs);
}

std::span<const Session::Verb> Session::Verbs()
{
    static constexpr Verb kVerbs[] = {
        {"call",
         "  [call] NAME [FIELD=VALUE ...]      send a request; it must succeed unless something else is "
         "expected\n"
         "  [call] NAME --raw HEX ...          with this payload, of any length\n",
         &Session::ExecuteCall, true, Names::kRequest},
        {"", "  $name = NAME [FIELD=VALUE ...]     also keep the number that it answers; $name stands for it "
             "afterwards\n"},
        {"expect",
         "  expect CODE [FIELD=VALUE ...] [NAME ...]  what the call, here or on a later line, must answer\n",
         &Session::ExecuteExpect, true, Names::kResult},
        {"wait",
         "  wait EVENT [FIELD=VALUE ...] [timeout=MS] wait for a notification that no earlier wait has "
         "taken\n",
         &Session::ExecuteWait, false, Names::kNotification},
        {"sleep", "  sleep MS                           let time pass\n", &Session::ExecuteSleep, false,
         Names::kNothing},
        {"device",
         "  device ...                         as on the command line: show or steer the virtual device\n",
         &Session::ExecuteDevice, true},
        {"expect-picture",
         "  expect-picture DISPLAY FILE [OPTIONS]  a display must show the picture in this file; see there "
         "--help\n",
         &Session::ExecuteExpectPicture, false, Names::kNothing},
        {"list", "  list ..., describe NAME            as on the command line\n", &Session::ExecuteCommand},
        {"describe", "", &Session::ExecuteCommand},
        {"", "  quit, exit                         leave, at a prompt; so do Ctrl-D and Ctrl-C\n"
             "  # comment\n"
             "Each field of an answer also stands for itself afterwards: $outEngNo, ${[0].port}.\n"
             "Values with spaces are quoted, as in a shell.\n"},
    };
    return kVerbs;
}

std::string LineHelp()
{
    std::string help;
    for (const Session::Verb& verb : Session::Verbs())
        help += verb.help;
    return help;
}

void Session::Execute(const std::string& line)
{
    std::string_view rest = line;
    const std::optional<std::string> variable = TakeVariable(rest);
    WordList words = SplitWords(rest, [this](std::string_view& name) { return Substitute(name); });
    ShowArrived();
    if (words.empty())
        return;
    for (const Verb& verb : Verbs()) {
        if (words[0] != verb.name || verb.execute == nullptr || (variable && !verb.canKeep))
            continue;
        if (verb.names)
            words.erase(words.begin());
        return (this->*verb.execute)(words, variable.value_or(""));
    }
    if (!ParseNumber(words[0]) && FindRequest(words[0]) == nullptr) {
        std::vector<std::string_view> known = RequestNames();
        for (const Verb& verb : Verbs()) {
            if (*verb.name != '\0')
                known.emplace_back(verb.name);
        }
        throw Error("there is no request or command '" + words[0] + "'" + Nearest(words[0], known));
    }
    ExecuteCall(words, variable.value_or(""));
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
        const auto end = std::find_if_not(rest.begin(), rest.end(), IsOfName);
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
    if (words.empty())
        throw Error("call: expected the name of a request");
    std::vector<Assignment> fields;
    std::optional<Bytes> raw;
    for (size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "--raw" && i + 1 < words.size())
            raw = ParseHex(words[++i]);
        else
            fields.push_back(ParseAssignment(words[i]));
    }
    const Prepared request = Prepare(decoder_, words[0], fields, raw ? &*raw : nullptr);
    const Call call = Perform(client_, decoder_, request, options_.timeoutMs);
    PrintLine(settings_.json ? CallJson(call) : CallLine(decoder_, call));
    Judge(call);
    if (call.answer)
        Keep(*call.answer, variable);
}

/// Prints what the command line prints. A refusal that is expected is shown as one, too.
void Session::ExecuteDevice(const WordList& words, const std::string& variable)
{
    Steer([&](Settings& settings) { return ParseWords(DescribeTool(settings), words)(); }, variable);
}

void Session::ExecuteExpectPicture(const WordList& words, const std::string&)
{
    ExpectedPicture expected;
    expected.isUpdated = options_.isUpdating;
    const auto compare = [&](Settings& settings) {
        return ParseWords(DescribeExpectPicture(settings, expected), words)();
    };
    Steer(compare, "");
}

/// Does what asks or steers the virtual device.
void Session::Steer(const std::function<int(Settings&)>& command, const std::string& variable)
{
    std::optional<Call> call;
    bool isRefused = false; // as expected
    Settings settings = settings_;
    settings.steer = [&](const Prepared& request) {
        call = Perform(client_, decoder_, request, options_.timeoutMs);
        Judge(*call);
        isRefused = true;
        RequireOk(*call);
        isRefused = false;
        return *call;
    };
    settings.pause = [&](Clock::time_point until) {
        while (Next(until)) {
        }
    };
    try {
        command(settings);
    } catch (const Failure& refusal) {
        if (!isRefused)
            throw;
        PrintLine(settings_.json ? CallJson(*call) : refusal.what());
    }
    if (call && call->answer)
        Keep(*call->answer, variable);
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
        if (!call.answer || !Filter::OfOneMessage(decoder_, {condition}).Matches(*call.answer))
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
    if (words.empty())
        throw Error("expect: expected a result code");
    const std::optional<uint32_t> code = FindResult(words[0]);
    if (!code)
        throw Error("expect " + words[0] + ": there is no such result code");
    auto call = std::find_if_not(words.begin() + 1, words.end(), IsAssignment);
    expectation_ = Expectation{*code, {words.begin() + 1, call}};
    if (call != words.end() && *call == "call")
        ++call;
    if (call != words.end())
        ExecuteCall({call, words.end()}, variable);
}

void Session::ExecuteWait(const WordList& words, const std::string&)
{
    uint32_t timeoutMs = options_.timeoutMs;
    WordList terms = words;
    std::erase_if(terms, [&](const std::string& word) {
        if (!word.starts_with("timeout="))
            return false;
        timeoutMs = ParseMilliseconds(word.substr(word.find('=') + 1));
        return true;
    });
    if (terms.empty())
        throw Error("wait: expected the name of a notification");
    const Filter filter = Filter::OfNotifications(decoder_, terms);
    const Clock::time_point deadline = After(timeoutMs);
    const auto isWanted = [&](const Untaken& one) { return filter.Matches(one.notification); };
    while (true) {
        const auto found = std::find_if(untaken_.begin(), untaken_.end(), isWanted);
        if (found != untaken_.end()) {
            if (options_.isQuiet)
                PrintLine(found->line);
            untaken_.erase(found);
            return;
        }
        if (!Next(deadline))
            throw Failure(kTimedOut,
                          "no notification '" + terms[0] + "' within " + std::to_string(timeoutMs) + " ms");
    }
}

void Session::ExecuteSleep(const WordList& words, const std::string&)
{
    if (words.size() != 1)
        throw Error("sleep: expected a number of milliseconds");
    const Clock::time_point deadline = After(ParseMilliseconds(words[0]));
    while (Next(deadline)) {
    }
}

/// A subcommand that sends nothing.
void Session::ExecuteCommand(const WordList& words, const std::string&)
{
    Settings settings = settings_;
    ParseWords(DescribeTool(settings), words)();
}

void Session::ShowArrived()
{
    while (Next(Clock::now())) {
    }
}

/// Takes in the next notification, which a wait can take. False if there is none in time.
bool Session::Next(std::optional<Clock::time_point> deadline)
{
    const std::optional<Arrived> arrived = client_.Next(deadline);
    if (!arrived) {
        if (client_.IsInterrupted())
            throw Failure(kFailed, "interrupted");
        return false;
    }
    Decoded notification = DecodeArrived(decoder_, *arrived);
    std::string line =
        settings_.json ? ArrivedJson(notification, *arrived) : "<- " + Line(decoder_, notification);
    if (!options_.isQuiet)
        PrintLine(line);
    untaken_.push_back({std::move(notification), std::move(line)});
    if (untaken_.size() > kMostUntaken)
        untaken_.pop_front();
    return true;
}

} // namespace vesk::ctl
