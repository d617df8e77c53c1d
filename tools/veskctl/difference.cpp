// How two messages differ that should be alike.
#include "tools/veskctl/difference.h"

#include "decoder/text.h"

#include <map>

namespace vesk::ctl {

using namespace decoder;

namespace {

/// Whether a value tells of the moment at which it was asked for; a replay asks at another.
bool IsOfTheMoment(const Decoded& answer, const Field& field)
{
    return field.path == "frames" && (answer.number == VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS ||
                                      answer.number == VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS);
}

} // namespace

std::vector<Difference> Differences(const Decoder& decoder, const Decoded& recorded, const Decoded& replayed)
{
    std::vector<Difference> differences;
    if (recorded.result != replayed.result)
        return {{"result", ResultText(recorded.result), ResultText(replayed.result)}};
    std::map<std::string_view, const Field*> remaining;
    for (const Field& field : replayed.fields)
        remaining[field.path] = &field;
    for (const Field& field : recorded.fields) {
        const auto other = remaining.find(field.path);
        if (other == remaining.end()) {
            differences.push_back({field.path, ValueText(decoder, field), kAbsent});
            continue;
        }
        if (field.value != other->second->value && !IsOfTheMoment(recorded, field))
            differences.push_back(
                {field.path, ValueText(decoder, field), ValueText(decoder, *other->second)});
        remaining.erase(other);
    }
    for (const auto& [path, field] : remaining)
        differences.push_back({std::string(path), kAbsent, ValueText(decoder, *field)});
    return differences;
}

} // namespace vesk::ctl
