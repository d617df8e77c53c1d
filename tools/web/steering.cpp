// Commands of "device" that a page sends.
#include "tools/web/steering.h"

#include "base/installed.h"
#include "base/nearest.h"
#include "steering/commands.h"
#include "tools/veskctl/completion.h"
#include "tools/veskctl/device_control.h"

#include <algorithm>

namespace vesk::web {

using ctl::Failure;

namespace {

using Words = std::vector<std::string>;

/// Puts paths in place of names of scenarios: no other file is read for a page, nor standard input.
void ReplaceScenarios(Words& words)
{
    const InstalledFiles installed = Installed("scenarios");
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        if (*word == "--end")
            continue;
        if (std::find(installed.names.begin(), installed.names.end(), *word) == installed.names.end())
            throw Failure(ctl::kUsage, "there is no installed scenario '" + *word + '\'' +
                                           Nearest(*word, {installed.names.begin(), installed.names.end()}));
        *word = installed.folder + '/' + *word;
    }
}

} // namespace

Steered Steer(Device& device, Words words)
{
    if (!words.empty() && words[0] == "scenario")
        ReplaceScenarios(words);
    steering::ControlMessage message =
        ctl::Usage([&] { return steering::ControlMessageOf(device.Decoder(), words); });
    const ctl::Call call = device.Send({message.number, true, std::move(message.data)});
    try {
        ctl::RequireOk(call);
        return {ctl::ControlAnswerJson(device.Decoder(), call), 0, ""};
    } catch (const Failure& refusal) {
        if (refusal.status != ctl::kRefused)
            throw;
        return {"", call.answer->result, refusal.what()};
    }
}

Words Complete(const Words& words)
{
    if (words.empty())
        return {};
    Words found;
    if (words.size() == 2 && words[0] == "scenario") {
        found = Installed("scenarios").names;
        found.emplace_back("--end");
        std::erase_if(found, [&](const std::string& name) { return !name.starts_with(words[1]); });
        return found;
    }
    Words line{"device"};
    line.insert(line.end(), words.begin(), words.end());
    Words unusable; // options of the whole tool, which a page does not have
    {
        static std::mutex s_lock; // those who complete at a prompt are alone
        const std::lock_guard guard(s_lock);
        found = ctl::CompletePrompt(line);
        unusable = ctl::CompletePrompt({"device", "--"});
    }
    std::erase_if(found, [&](const std::string& word) {
        return std::find(unusable.begin(), unusable.end(), word) != unusable.end();
    });
    if (words.size() == 1) {
        const auto commands = steering::ControlCommands("", nullptr);
        std::erase_if(found, [&](const std::string& name) {
            return std::none_of(commands.begin(), commands.end(),
                                [&](const CommandLine& command) { return command.name == name; });
        });
    }
    return found;
}

} // namespace vesk::web
