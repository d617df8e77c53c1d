// Where the scenes come from that commands draw.
#include "tools/pictures/scene_source.h"

#include "decoder/text.h"
#include "tools/veskctl/document.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/state.h"
#include "vesk_service/control.h"

#include <nlohmann/json.hpp>

namespace vesk::ctl {

using nlohmann::ordered_json;
using pictures::Scene;

namespace {

/// The member of @p object, which is there. @throw Error
const ordered_json& MemberOf(const ordered_json& object, const char* name)
{
    if (!object.is_object() || !object.contains(name))
        throw Error(std::string("expected the member '") + name + "'");
    return object[name];
}

/// The scenes that a list of a state has, each a member of an entry.
ordered_json ScenesOf(const ordered_json& entries)
{
    ordered_json scenes = ordered_json::array();
    for (const ordered_json& entry : entries)
        scenes.push_back(MemberOf(entry, "scene"));
    return {{"scenes", std::move(scenes)}};
}

Scene SnapshotIn(const ordered_json& state, uint64_t number, const std::string& origin)
{
    std::string known;
    for (const ordered_json& snapshot : MemberOf(state, "snapshots")) {
        const ordered_json& its = MemberOf(snapshot, "number");
        if (its == number)
            return pictures::ReadScene(MemberOf(snapshot, "scene"));
        known += (known.empty() ? "" : ", ") + its.dump();
    }
    throw Failure(kFailed, origin + ": there is no snapshot " + std::to_string(number) +
                               (known.empty() ? "" : "; there are " + known));
}

Scene DisplayIn(std::vector<Scene> scenes, std::optional<uint64_t> display, const std::string& origin)
{
    for (Scene& scene : scenes) {
        if (!display || scene.voPort == *display)
            return std::move(scene);
    }
    throw Failure(kFailed,
                  origin + ": there is no display" + (display ? ' ' + std::to_string(*display) : ""));
}

Scene SceneInFile(const ScreenshotOptions& options)
{
    const std::string& file = options.scene;
    const ordered_json document = decoder::ParseJson(ReadDocument(file), file);
    const bool isState = document.is_object() && document.contains("outputs");
    try {
        if (options.snapshot)
            return SnapshotIn(document, *options.snapshot, file);
        return DisplayIn(pictures::ReadScenes(isState ? ScenesOf(document["outputs"]) : document),
                         options.display, file);
    } catch (const Failure&) {
        throw;
    } catch (const Error& error) {
        throw Error(file + ": " + error.what());
    }
}

} // namespace

Scene SceneOfDisplay(Settings& settings, std::optional<uint64_t> display)
{
    const std::string port = std::to_string(display.value_or(VESK_CONTROL_EVERY_PORT));
    const ordered_json document = GetDocument(settings, "VESK_CONTROL_SCENE", {{"port", port}});
    return DisplayIn(pictures::ReadScenes(document), display, settings.service);
}

Scene FindScene(Settings& settings, const ScreenshotOptions& options)
{
    if (!options.scene.empty())
        return SceneInFile(options);
    if (options.snapshot)
        return SnapshotIn(GetDocument(settings, "VESK_CONTROL_STATE", {}), *options.snapshot,
                          settings.service);
    return SceneOfDisplay(settings, options.display);
}

uint64_t MoveTime(Settings& settings, uint64_t milliseconds)
{
    const Call call = PerformSteering(settings, Prepare(settings.Decoder(), "VESK_CONTROL_TIME",
                                                        {{"advanceMs", std::to_string(milliseconds)}}));
    const auto member = [&](std::string_view name) -> uint64_t {
        for (const decoder::Field& field : call.answer->fields) {
            if (const auto* number = std::get_if<uint64_t>(&field.value); number && field.path == name)
                return *number;
        }
        throw Failure(kFailed, settings.service + " does not say what time it is");
    };
    if (member("isStep") == 0)
        throw Failure(kRefused, "the device's time moves by itself; the service must be started with --step");
    return member("nowMs");
}

} // namespace vesk::ctl
