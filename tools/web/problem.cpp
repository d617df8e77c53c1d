// How a request fails, in one form for all of them.
#include "tools/web/problem.h"

#include "decoder/json.h"
#include "decoder/names.h"
#include "decoder/text.h"

namespace vesk::web {

namespace {

Answer Of(unsigned status, const char* kind, const std::string& text, std::optional<uint32_t> result)
{
    nlohmann::ordered_json json = decoder::Object({{"error", text}, {"kind", kind}});
    if (result) {
        json["code"] = *result;
        json["name"] = decoder::ResultName(*result);
    }
    return JsonAnswer(decoder::Dump(json), status);
}

} // namespace

Answer Problem(ctl::ExitStatus status, const std::string& text, std::optional<uint32_t> result)
{
    switch (status) {
    case ctl::kUsage:
        return Of(400, "usage", text, result);
    case ctl::kRefused:
        return Of(409, "refused", text, result);
    case ctl::kNoService:
        return Of(503, "no service", text, result);
    case ctl::kTimedOut:
        return Of(504, "timed out", text, result);
    default:
        return Of(500, "failed", text, result);
    }
}

Answer NotFound(const std::string& text)
{
    return Of(404, "not found", text, {});
}

} // namespace vesk::web
