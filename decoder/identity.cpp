// Which numbers identify something that a peer handed out: engines, streams, channels, queues.
#include "decoder/identity.h"

#include <algorithm>

namespace vesk::decoder {

namespace {

/// A field that holds a number under another name than the answer that handed it out.
struct Alias {
    std::string_view name;
    std::string_view identity;
    uint32_t answerOf = 0; ///< The request in whose answer it does; 0: in all messages.
};

constexpr Alias kAliases[] = {
    {"encNo", "encStmNo"},
    {"decNo", "decStmNo"},
    {"queId", "queHandle"},
    {"faceQueue", "queHandle"},
    {"presetSelector", "inEngNo"}, // means that to the virtual service, like the next
    {"surfaceId", "outEngNo"},
    {"stmNo", "encStmNo", VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS},
    {"stmNo", "decStmNo", VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS},
};

std::string_view IdentityIn(uint32_t answerOf, std::string_view name)
{
    if (name == kEngine)
        return kEngine;
    for (const Alias& alias : kAliases) {
        if (alias.name == name && (alias.answerOf == 0 || alias.answerOf == answerOf))
            return alias.identity;
    }
    for (const messages::Request& giver : messages::kRequests) {
        // A count or a status is answered and passed on as well, but it identifies nothing.
        if (name != giver.answer.name || giver.answer.size != sizeof(uint32_t) || name == "count")
            continue;
        for (const messages::Request& taker : messages::kRequests) {
            for (const messages::Argument& argument : taker.arguments) {
                if (name == argument.Name())
                    return giver.answer.name;
            }
        }
    }
    return {};
}

} // namespace

std::string_view IdentityOf(const Decoded& message, const Field& field)
{
    const std::string_view name = field.LastName();
    if (name != "inputId")
        return IdentityIn(message.direction == Direction::kAnswer ? message.number : 0, name);
    const std::string flag = field.path.substr(0, field.path.size() - name.size()) + "decFlag";
    const auto sibling = std::find_if(message.fields.begin(), message.fields.end(),
                                      [&](const Field& other) { return other.path == flag; });
    return InputIdentity(sibling != message.fields.end() && !sibling->IsZero());
}

std::string_view IdentityOf(std::string_view name)
{
    return IdentityIn(0, name);
}

} // namespace vesk::decoder
