// Files of steps that the virtual device is to go through.
#include "steering/scenario_file.h"

#include "base/error.h"
#include "base/file.h"
#include "base/installed.h"
#include "base/toml_table.h"
#include "base/words.h"
#include "steering/commands.h"
#include "steering/match.h"

#include <cmath>

namespace vesk::steering {

using namespace decoder;

namespace {

constexpr double kLatest = 86400; // seconds; a day

/// Calls @p read and says where in the file the words are that it cannot read.
template <class Function>
auto At(const TomlValue& words, const Function& read)
{
    try {
        return read();
    } catch (const Error& error) {
        words.Fail(error.what());
    }
}

/// One scenario while it is read.
class ScenarioReader {
public:
    explicit ScenarioReader(const Decoder& decoder) : decoder_(decoder) {}

    ControlMessage Read(TomlTable document)
    {
        Try([&] { document.AllowOnly({"step"}); });
        const std::string expected = "steps, each of which begins with [[step]]";
        Try([&] {
            const TomlValue array = document.Need("step", expected);
            const std::vector<TomlValue> steps = array.Entries();
            if (steps.empty())
                array.Refuse(expected);
            for (const TomlValue& step : steps)
                Try([&] { AddStep(step.Table()); });
        });
        if (!mistakes_.empty())
            throw Error(mistakes_[0], {mistakes_.begin() + 1, mistakes_.end()});
        return MakeMessage(VESK_CONTROL_SCENARIO, {}, {payload_});
    }

private:
    /// Keeps what is wrong, so that what follows is read, too.
    template <class Function>
    void Try(const Function& read)
    {
        try {
            read();
        } catch (const Error& error) {
            mistakes_.emplace_back(error.what());
            mistakes_.insert(mistakes_.end(), error.others.begin(), error.others.end());
        }
    }

    void AddStep(TomlTable table)
    {
        Try([&] { table.AllowOnly({"at", "on", "app", "nth", "do"}); });
        VeskControlStep step{};
        Try([&] { step = TriggerOf(table); });
        const TomlValue what = table.Need("do", "a line of words, or an array of them");
        const std::vector<TomlValue> lines = what.IsArray() ? what.Entries() : std::vector{what};
        if (lines.empty())
            what.Refuse("at least one line of words");
        for (const TomlValue& line : lines)
            Try([&] { AddLine(step, line); });
    }

    VeskControlStep TriggerOf(TomlTable& table) const
    {
        const auto at = table.Find("at");
        const auto on = table.Find("on");
        if (at.has_value() == on.has_value())
            table.Fail("expected either at or on");
        const auto app = table.Find("app");
        const auto nth = table.Find("nth");
        VeskControlStep step{};
        if (at) {
            for (const auto& other : {app, nth}) {
                if (other)
                    other->Fail("belongs to on, not to at");
            }
            step.trigger = VESK_CONTROL_AT_TIME;
            const double seconds = at->Number(0, kLatest, "seconds, 0 to 86400");
            step.atMs = static_cast<uint64_t>(std::llround(seconds * 1000));
            return step;
        }
        step.trigger = VESK_CONTROL_AT_MATCH;
        step.nth = nth ? static_cast<uint64_t>(nth->Integer(1, UINT32_MAX)) : 1;
        const std::string application = app ? app->Text("an application's name") : "";
        const std::string line = on->Text("a message, such as \"VO_START outEngNo=2001\"");
        step.match = At(*on, [&] { return MatchOf(decoder_, SplitWords(line), application); });
        return step;
    }

    void AddLine(VeskControlStep step, const TomlValue& words)
    {
        const std::string line = words.Text("a line of words, such as \"unplug input 0\"");
        const ControlMessage message =
            At(words, [&] { return ControlMessageOf(decoder_, SplitWords(line)); });
        if (message.number == VESK_CONTROL_SCENARIO || message.number == VESK_CONTROL_RESET)
            words.Fail("a scenario cannot contain '" + line + "'");
        if (++steps_ > VESK_CONTROL_MAX_STEPS + 1 || isFull_) // which has been said
            return;
        if (steps_ > VESK_CONTROL_MAX_STEPS)
            words.Fail("a scenario has at most " + std::to_string(VESK_CONTROL_MAX_STEPS) + " steps");
        step.dataLen = static_cast<uint32_t>(message.data.size());
        const BytesView head = BytesOf(step);
        payload_.insert(payload_.end(), head.begin(), head.end());
        payload_.insert(payload_.end(), message.data.begin(), message.data.end());
        payload_.resize((payload_.size() + 7) / 8 * 8);
        isFull_ = payload_.size() > VESK_VIDEO_MAX_MESSAGE_SIZE - sizeof(VeskVideoMsgHead);
        if (isFull_)
            words.Fail("up to here, the scenario has more than the " +
                       std::to_string(VESK_VIDEO_MAX_MESSAGE_SIZE) + " bytes of a message");
    }

    const Decoder& decoder_;
    Bytes payload_;
    size_t steps_ = 0;
    bool isFull_ = false;
    std::vector<std::string> mistakes_;
};

} // namespace

ControlMessage ScenarioOf(const Decoder& decoder, const std::string& text, const std::string& source)
{
    return ScenarioReader(decoder).Read({text, source});
}

ControlMessage ScenarioFromFile(const Decoder& decoder, const std::string& path)
{
    const std::string found = FindFile(path, "scenarios");
    return ScenarioOf(decoder, FileContents(found), found);
}

} // namespace vesk::steering
