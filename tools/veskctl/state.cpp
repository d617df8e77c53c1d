// The state of the virtual service, as "device state" and "device graph" read it.
#include "tools/veskctl/state.h"

#include "tools/veskctl/document.h"
#include "tools/veskctl/exchange.h"

#include <nlohmann/json.hpp>

namespace vesk::ctl {

using namespace decoder;
using nlohmann::ordered_json;

ordered_json ReadState(Settings& settings, const std::string& file)
{
    if (!file.empty()) {
        ordered_json state = ParseJson(ReadDocument(file), file);
        if (!state.is_object())
            throw Error(file + ": expected the state of a virtual service, which is a JSON object");
        return state;
    }
    return GetDocument(settings, "VESK_CONTROL_STATE", {});
}

ordered_json GetDocument(Settings& settings, const std::string& request,
                         const std::vector<decoder::Assignment>& arguments)
{
    const Call call = PerformSteering(settings, Prepare(settings.Decoder(), request, arguments));
    const BytesView text = BytesView(call.outcome.answer).subspan(sizeof(VeskVideoMsgHead));
    return ParseJson({reinterpret_cast<const char*>(text.data()), text.size()},
                     "the service's answer to " + request + " is malformed");
}

std::string Section::NameIn(const ordered_json& thing, const char* member) const
{
    return std::string(kind) + ' ' + thing.at(member).dump();
}

bool Section::IsRunning(const ordered_json& thing) const
{
    return thing.at(running).get<bool>();
}

void ShowState(const std::function<void()>& show)
{
    try {
        show();
    } catch (const ordered_json::exception& error) {
        throw Error("this is not the state of a virtual service: " + JsonProblem(error.what()));
    }
}

std::string OwnerText(const ordered_json& thing)
{
    const ordered_json& owner = thing.at("owner");
    return owner.at("procName").get<std::string>() + '[' + owner.at("process").dump() + ']';
}

std::string SourceText(const ordered_json& picture)
{
    return (picture.at("decFlag") != 0 ? kDecoders : kInputEngines).NameIn(picture, "inputId");
}

std::string LayerText(const ordered_json& layer)
{
    for (const Section& section : {kInputEngines, kDecoders, kOverlays, kRemoteMice, kLocalMice}) {
        if (layer.contains(section.number))
            return section.NameIn(layer);
    }
    return layer.at("source").get<std::string>();
}

std::string PictureText(const ordered_json& mode, const char* width, const char* height)
{
    const auto wide = mode.at(width).get<uint64_t>();
    if (wide == 0)
        return {};
    const std::string size = std::to_string(wide) + 'x' + mode.at(height).dump();
    return mode.contains("fr") ? size + " at " + mode["fr"].dump() + " fps" : size;
}

} // namespace vesk::ctl
