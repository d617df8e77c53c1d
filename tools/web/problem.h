// How a request fails, in one form for all of them.
#pragma once

#include "tools/veskctl/failure.h"
#include "tools/web/answer.h"

#include <optional>

namespace vesk::web {

/// {"error": text, "kind": "refused", ...}, with the result code of a refusal if there is one.
Answer Problem(ctl::ExitStatus status, const std::string& text, std::optional<uint32_t> result = {});

/// The same of what is not there: of a path, or something that is not installed.
Answer NotFound(const std::string& text);

} // namespace vesk::web
