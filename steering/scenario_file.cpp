// Files of steps that the virtual device is to go through.
#include "steering/scenario_file.h"

#include "base/error.h"
#include "base/file.h"
#include "base/toml.h"
#include "base/words.h"
#include "decoder/text.h"
#include "steering/commands.h"
#include "steering/match.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace vesk::steering {

using namespace decoder;

namespace {

constexpr double kLatest = 86400; // seconds; a day
constexpr int64_t kHighestNth = UINT32_MAX;

/// A value as the file has it, as far as it fits into an error.
std::string Shown(const toml::node& node)
{
    if (node.is_table())
        return "a table";
    if (node.is_array())
        return "an array";
    if (const auto text = node.value<std::string>(); text && node.is_string())
        return Dump(text->substr(0, 64));
    std::ostringstream text;
    node.visit([&](const auto& value) {
        if constexpr (toml::is_value<decltype(value)>)
            text << std::boolalpha << value.get();
    });
    return text.str();
}

/// One scenario while it is read.
class Reader {
public:
    Reader(const Decoder& decoder, const std::string& source) : decoder_(decoder), source_(source) {}

    ControlMessage Read(const std::string& text)
    {
        const toml::table document = Parse(text);
        RequireKeys(document, "", {"step"});
        const toml::array* steps = document["step"].as_array();
        if (steps == nullptr || steps->empty() || !steps->is_array_of_tables())
            Fail(1, "expected steps, each of which begins with [[step]]");
        for (size_t i = 0; i < steps->size(); ++i)
            AddStep(*steps->get(i)->as_table(), "step[" + std::to_string(i) + "]");
        return MakeMessage(VESK_CONTROL_SCENARIO, {}, {payload_});
    }

private:
    [[noreturn]] void Fail(toml::source_index line, const std::string& text) const
    {
        throw Error(source_ + ':' + std::to_string(line) + ": " + text);
    }

    [[noreturn]] void Fail(const toml::node& node, const std::string& path, const std::string& text) const
    {
        Fail(node.source().begin.line, path + ": " + text);
    }

    [[noreturn]] void Refuse(const toml::node& node, const std::string& path,
                             const std::string& expected) const
    {
        Fail(node, path, "expected " + expected + ", not " + Shown(node));
    }

    toml::table Parse(const std::string& text) const
    try {
        return toml::parse(text);
    } catch (const toml::parse_error& error) {
        Fail(error.source().begin.line, std::string(error.description()));
    }

    void RequireKeys(const toml::table& table, const std::string& path,
                     const std::vector<std::string_view>& known) const
    {
        for (const auto& [key, value] : table) {
            if (std::find(known.begin(), known.end(), key.str()) != known.end())
                continue;
            std::string expected;
            for (const std::string_view name : known)
                expected += (expected.empty() ? "; expected " : ", ") + std::string(name);
            Fail(key.source().begin.line, (path.empty() ? path : path + '.') + std::string(key.str()) +
                                              ": there is no such key" + expected);
        }
    }

    /// Calls @p read and says where in the file the words are that it cannot read.
    template <class Function>
    auto At(const toml::node& node, const std::string& path, const Function& read) const
    {
        try {
            return read();
        } catch (const Error& error) {
            Fail(node, path, error.what());
        }
    }

    std::string Text(const toml::node& node, const std::string& path, const char* expected) const
    {
        if (!node.is_string())
            Refuse(node, path, expected);
        return *node.value<std::string>();
    }

    void AddStep(const toml::table& table, const std::string& path)
    {
        RequireKeys(table, path, {"at", "on", "app", "nth", "do"});
        const VeskControlStep step = TriggerOf(table, path);
        const toml::node* what = table.get("do");
        if (what == nullptr)
            Fail(table, path, "do is missing; expected a line of words, or an array of them");
        const toml::array* lines = what->as_array();
        if (lines == nullptr)
            return AddLine(step, *what, path + ".do");
        if (lines->empty())
            Refuse(*what, path + ".do", "at least one line of words");
        for (size_t i = 0; i < lines->size(); ++i)
            AddLine(step, *lines->get(i), path + ".do[" + std::to_string(i) + ']');
    }

    VeskControlStep TriggerOf(const toml::table& table, const std::string& path) const
    {
        const toml::node* at = table.get("at");
        const toml::node* on = table.get("on");
        if ((at == nullptr) == (on == nullptr))
            Fail(table, path, "expected either at or on");
        VeskControlStep step{};
        if (at != nullptr) {
            for (const char* key : {"app", "nth"}) {
                if (const toml::node* other = table.get(key))
                    Fail(*other, path + '.' + key, "belongs to on, not to at");
            }
            step.trigger = VESK_CONTROL_AT_TIME;
            step.atMs = Milliseconds(*at, path + ".at");
            return step;
        }
        step.trigger = VESK_CONTROL_AT_MATCH;
        step.nth = Nth(table.get("nth"), path + ".nth");
        const toml::node* app = table.get("app");
        const std::string application =
            app != nullptr ? Text(*app, path + ".app", "an application's name") : "";
        const std::string line = Text(*on, path + ".on", "a message, such as \"VO_START outEngNo=1\"");
        step.match = At(*on, path + ".on", [&] { return MatchOf(decoder_, SplitWords(line), application); });
        return step;
    }

    uint64_t Milliseconds(const toml::node& node, const std::string& path) const
    {
        const std::optional<double> seconds = node.is_number() ? node.value<double>() : std::nullopt;
        if (!seconds || !(*seconds >= 0 && *seconds <= kLatest))
            Refuse(node, path, "seconds, 0 to 86400");
        return static_cast<uint64_t>(std::llround(*seconds * 1000));
    }

    uint64_t Nth(const toml::node* node, const std::string& path) const
    {
        if (node == nullptr)
            return 1;
        const std::optional<int64_t> nth = node->is_integer() ? node->value<int64_t>() : std::nullopt;
        if (!nth || *nth < 1 || *nth > kHighestNth)
            Refuse(*node, path, "a number from 1 to " + std::to_string(kHighestNth));
        return static_cast<uint64_t>(*nth);
    }

    void AddLine(VeskControlStep step, const toml::node& node, const std::string& path)
    {
        const std::string line = Text(node, path, "a line of words, such as \"unplug input 0\"");
        const ControlMessage message =
            At(node, path, [&] { return ControlMessageOf(decoder_, SplitWords(line)); });
        if (message.number == VESK_CONTROL_SCENARIO || message.number == VESK_CONTROL_RESET)
            Fail(node, path, "a scenario cannot contain '" + line + "'");
        if (++steps_ > VESK_CONTROL_MAX_STEPS)
            Fail(node, path, "a scenario has at most " + std::to_string(VESK_CONTROL_MAX_STEPS) + " steps");
        step.dataLen = static_cast<uint32_t>(message.data.size());
        const BytesView head = BytesOf(step);
        payload_.insert(payload_.end(), head.begin(), head.end());
        payload_.insert(payload_.end(), message.data.begin(), message.data.end());
        payload_.resize((payload_.size() + 7) / 8 * 8);
        if (payload_.size() > VESK_VIDEO_MAX_MESSAGE_SIZE - sizeof(VeskVideoMsgHead))
            Fail(node, path,
                 "up to here, the scenario has more than the " + std::to_string(VESK_VIDEO_MAX_MESSAGE_SIZE) +
                     " bytes of a message");
    }

    const Decoder& decoder_;
    const std::string& source_;
    Bytes payload_;
    size_t steps_ = 0;
};

} // namespace

ControlMessage ScenarioOf(const Decoder& decoder, const std::string& text, const std::string& source)
{
    return Reader(decoder, source).Read(text);
}

ControlMessage ScenarioFromFile(const Decoder& decoder, const std::string& path)
{
    return ScenarioOf(decoder, FileContents(path), path);
}

} // namespace vesk::steering
