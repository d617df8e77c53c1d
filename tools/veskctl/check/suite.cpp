// The conformance suite as a whole: which tests there are, and how they are run.
#include "tools/veskctl/check/suite.h"

#include "base/nearest.h"
#include "vesk_service/control_list.h"

#include <algorithm>

namespace vesk::ctl::check {

using namespace std::chrono_literals;

std::vector<const Test*> AllTests()
{
    std::vector<const Test*> all;
    for (const std::span<const Test> group :
         {FramingTests(), ValueTests(), LifeTests(), OwnershipTests(), ClientTests(), NotificationTests(),
          LoadTests(), RestartTests()}) {
        for (const Test& test : group)
            all.push_back(&test);
    }
    return all;
}

std::vector<std::string_view> TestNames()
{
    std::vector<std::string_view> names;
    for (const Test* test : AllTests()) {
        if (std::find(names.begin(), names.end(), test->Group()) == names.end())
            names.push_back(test->Group());
        names.emplace_back(test->name);
    }
    return names;
}

std::vector<const Test*> TestsNamed(const std::vector<std::string>& names)
{
    std::vector<const Test*> all = AllTests();
    if (names.empty())
        return all;
    const std::vector<std::string_view> known = TestNames();
    for (const std::string& name : names) {
        if (std::find(known.begin(), known.end(), name) == known.end())
            throw Error("there is no test or group '" + name + "'" + Nearest(name, known));
    }
    std::vector<const Test*> chosen = all;
    std::erase_if(chosen, [&](const Test* test) {
        return std::none_of(names.begin(), names.end(), [&](const std::string& name) {
            return name == test->name || name == test->Group();
        });
    });
    return chosen;
}

namespace {

constexpr Test kSurvey{"survey", "", "", nullptr, 0};

/// The ports that notifications after INIT tell of: those that are plugged in first, the camera before all.
struct Ports {
    std::vector<uint32_t> plugged;
    std::vector<uint32_t> unplugged;

    void Add(const Notified& state)
    {
        const auto port = static_cast<uint32_t>(state.Field("port").value_or(0));
        (state.Field("val").value_or(0) != 0 ? plugged : unplugged).push_back(port);
    }

    /// @param allowed  If it is not empty, only these.
    std::vector<uint32_t> InOrder(const std::vector<uint32_t>& allowed, size_t& pluggedCount)
    {
        const auto isRefused = [&](uint32_t port) {
            return !allowed.empty() && std::find(allowed.begin(), allowed.end(), port) == allowed.end();
        };
        std::erase_if(plugged, isRefused);
        std::erase_if(unplugged, isRefused);
        pluggedCount = plugged.size();
        std::vector<uint32_t> all = plugged;
        all.insert(all.end(), unplugged.begin(), unplugged.end());
        return all;
    }
};

/// True if the port has a camera: it answers what only a camera can.
bool HasCamera(Actor& client, uint32_t port)
{
    client.Forget("inEngNo");
    client.Set("viPort", port);
    try {
        return client.Send("CAMERA_CONTROL inEngNo=$inEngNo cmdType=16").IsOk();
    } catch (const NotTried&) { // it cannot be opened
        return false;
    }
}

/// The ports that the service tells of after INIT; if it does not tell of them, those of the profile.
Ports TakePorts(Actor& client, const Profile& profile, uint32_t state, const char* counted)
{
    Ports ports;
    if (!profile.Sends(state)) {
        ports.plugged = state == VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY ? profile.inputs : profile.outputs;
        return ports;
    }
    constexpr auto kLongest = 5s;
    const auto deadline = Clock::now() + kLongest;
    const Reply reply = client.Send(counted);
    for (uint64_t left = reply.IsOk() ? reply.Number("count") : 0; left > 0; --left) {
        const auto one =
            client.Await(state, std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()));
        if (!one)
            break;
        ports.Add(*one);
    }
    return ports;
}

/// A number that no preset of the camera of the client's engine has.
uint32_t NewPreset(Actor& client)
{
    const Reply counted = client.Send("GET_PRESET_COUNT");
    const uint64_t count = counted.IsOk() ? counted.Number("count") : 0;
    if (count == 0)
        return 1;
    const Reply presets =
        client.Send("QUERY_PRESET presetSelector=$inEngNo presetCount=" + std::to_string(count));
    uint32_t preset = presets.IsOk() ? 1 : static_cast<uint32_t>(count + 1);
    const auto isTaken = [&] {
        for (uint64_t i = 0; i < presets.Payload().size() / sizeof(VeskVideoPresetInfo); ++i) {
            if (presets.Number('[' + std::to_string(i) + "].presetId") == preset)
                return true;
        }
        return false;
    };
    while (isTaken())
        ++preset;
    return preset;
}

/// Finds the camera, one that is plugged in, and makes it the first of the inputs.
void FindCamera(Actor& client, std::optional<uint32_t> wanted, Survey& survey)
{
    const auto end = survey.inputs.begin() + static_cast<std::ptrdiff_t>(survey.pluggedInputs);
    const auto found = std::find_if(survey.inputs.begin(), end, [&](uint32_t port) {
        return port == wanted.value_or(port) && HasCamera(client, port);
    });
    if (found == end)
        return;
    survey.camera = *found;
    survey.newPreset = NewPreset(client);
    std::rotate(survey.inputs.begin(), found, found + 1);
}

} // namespace

Survey SurveyDevice(Bench& bench)
{
    Survey survey;
    Trial trial(bench, kSurvey);
    Actor& client = trial.NewProcess();
    const Reply init = client.Send(client.InitLine());
    RequireOk(init);
    const Profile& profile = bench.profile;
    survey.inputs = TakePorts(client, profile, VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, "GET_VI_COUNT")
                        .InOrder(profile.inputs, survey.pluggedInputs);
    survey.outputs = TakePorts(client, profile, VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, "GET_VO_COUNT")
                         .InOrder(profile.outputs, survey.pluggedOutputs);
    FindCamera(client, bench.profile.camera, survey);
    survey.isVirtual = client.Send("VESK_CONTROL_STATE").IsOk();
    trial.Leave(client);
    return survey;
}

void RequirePorts(const Bench& bench)
{
    const auto require = [](const char* kind, const std::vector<uint32_t>& named,
                            const std::vector<uint32_t>& found) {
        for (const uint32_t port : named) {
            if (std::find(found.begin(), found.end(), port) == found.end())
                throw Failure(kUsage, std::string("the profile names the ") + kind + " port " +
                                          std::to_string(port) + ", which the device does not have");
        }
    };
    const Profile& profile = bench.profile;
    require("input", profile.inputs, bench.survey.inputs);
    require("output", profile.outputs, bench.survey.outputs);
    if (profile.camera)
        require("input", {*profile.camera}, bench.survey.inputs);
}

bool IsServing(Bench& bench)
{
    Trial trial(bench, kSurvey);
    Actor& client = trial.NewProcess();
    return Becomes(5s, [&] { return client.Send("GET_VO_COUNT").outcome.platformResult == 0; });
}

std::string WhyLeftOut(const Bench& bench, const Test& test)
{
    if ((test.traits & kRestarts) != 0 && bench.restartCommand.empty())
        return "it needs --restart COMMAND";
    if ((test.traits & kLong) != 0 && bench.isQuick)
        return "it is long, and this is a --quick run";
    if ((test.traits & kNoticed) != 0 && !bench.mayBeNoticed)
        return "people may notice it: give --yes to run it";
    return "";
}

} // namespace vesk::ctl::check
