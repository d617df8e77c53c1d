// The state of the virtual service, as "device state" and "device graph" read it.
#pragma once

#include "tools/veskctl/settings.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>

namespace vesk::ctl {

/// The state of the virtual service, or the one that a file holds (- is standard input). @throw Failure,
/// Error
nlohmann::ordered_json ReadState(Settings& settings, const std::string& file);

/// The document with which the virtual service answers a request without arguments or with those given.
/// @throw Failure
nlohmann::ordered_json GetDocument(Settings& settings, const std::string& request,
                                   const std::vector<decoder::Assignment>& arguments);

/// How pictures run through the device, in Graphviz's language. To be called through ShowState.
std::string GraphText(const nlohmann::ordered_json& state);

/// A section of the state that lists things of a kind.
struct Section {
    const char* name; ///< In the state.
    const char* title;
    const char* kind = "";    ///< Of one of them.
    const char* number = "";  ///< Member that tells it from the others of its kind.
    const char* running = ""; ///< Member that says whether it runs.

    /// "input engine 3"; @p thing may also be one of another kind that refers to it by a member.
    std::string NameIn(const nlohmann::ordered_json& thing, const char* member) const;
    std::string NameIn(const nlohmann::ordered_json& thing) const { return NameIn(thing, number); }
    bool IsRunning(const nlohmann::ordered_json& thing) const;
};

inline constexpr Section kInputs{"inputs", "Inputs", "input", "viPort"};
inline constexpr Section kInputEngines{"inputEngines", "Input engines", "input engine", "inEngNo", "started"};
inline constexpr Section kOutputs{"outputs", "Outputs", "output", "voPort"};
inline constexpr Section kOutputEngines{"outputEngines", "Output engines", "output engine", "outEngNo",
                                        "started"};
inline constexpr Section kEncoders{"encoders", "Encoders", "encoder", "encStmNo", "started"};
inline constexpr Section kDecoders{"decoders", "Decoders", "decoder", "decStmNo", "started"};
inline constexpr Section kLoops{"loops", "Loops", "loop", "loop", "enabled"};
inline constexpr Section kOverlays{"overlays", "Overlays", "overlay", "overlayChn", "enabled"};
inline constexpr Section kRemoteMice{"remoteMice", "Remote mice", "remote mouse", "mouseStmNo", "started"};
inline constexpr Section kLocalMice{"localMice", "Local mice", "local mouse", "localMouseStmNo", "started"};
inline constexpr Section kUvcStreams{"uvcStreams", "UVC streams", "UVC stream", "uvcStmNo", "started"};

/// Calls @p show and turns members that are missing or of other types into an error that says so.
void ShowState(const std::function<void()>& show);

/// "tour[812]"
std::string OwnerText(const nlohmann::ordered_json& thing);

/// "decoder 4001" or "input engine 1001", which an output engine's picture shows.
std::string SourceText(const nlohmann::ordered_json& picture);

/// "input engine 1001", "overlay 3" or "wallpaper", which a layer shows.
std::string LayerText(const nlohmann::ordered_json& layer);

/// "1920x1080 at 30 fps"; empty if there is no picture.
std::string PictureText(const nlohmann::ordered_json& mode, const char* width, const char* height);

} // namespace vesk::ctl
