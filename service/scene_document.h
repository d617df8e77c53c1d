// What displays show, as a JSON document.
#pragma once

#include "service/request.h"
#include "service/scene.h"

#include <nlohmann/json_fwd.hpp>

namespace vesk::service {

/// A scene as an object: numbers have their names of the list of messages, everything else words.
nlohmann::ordered_json ToJson(const Scene&);

/// The scenes of a display, or of all.
Result GetScenes(Service&, Argument<"port">, Bytes* document);

} // namespace vesk::service
