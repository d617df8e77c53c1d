// What the list of messages and the headers say about a message and its values.
#include "decoder/decoder.h"
#include "vesk_service/control_list.h"

#include <algorithm>

namespace vesk::decoder {

namespace {

using messages::HeaderField;

constexpr ValueWithName kNamedValues[] = {
    {"cmdType", VESK_VIDEO_CAM_CTRL_QUERY, "CAM_CTRL_QUERY"},
    {"camCtrlCmd", VESK_VIDEO_CAM_CTRL_QUERY, "CAM_CTRL_QUERY"},
    {"codcType", VESK_VIDEO_ENC_SVC_SW, "ENC_SVC_SW"},
    {"codecType", VESK_VIDEO_DEC_SVC_SW, "DEC_SVC_SW"},
    {"portType", VESK_VIDEO_PORT_TYPE_NET_CAMERA, "PORT_TYPE_NET_CAMERA"},
    {"cmdType", VESK_SERVICE_CAM_LEFT, "CAM_LEFT", {}, true},
    {"cmdType", VESK_SERVICE_CAM_RIGHT, "CAM_RIGHT", {}, true},
    {"cmdType", VESK_SERVICE_CAM_UP, "CAM_UP", {}, true},
    {"cmdType", VESK_SERVICE_CAM_DOWN, "CAM_DOWN", {}, true},
    {"direction", VESK_CONTROL_INPUT, "INPUT"},
    {"direction", VESK_CONTROL_OUTPUT, "OUTPUT"},
    {"kind", VESK_CONTROL_ANY, "ANY", "VeskControlMatch"},
    {"kind", VESK_CONTROL_OF_REQUEST, "OF_REQUEST", "VeskControlMatch"},
    {"kind", VESK_CONTROL_OF_NOTIFICATION, "OF_NOTIFICATION", "VeskControlMatch"},
    {"number", VESK_CONTROL_ANY_NUMBER, "ANY_NUMBER", "VeskControlMatch"},
    {"effect", VESK_CONTROL_EFFECT_RESULT, "EFFECT_RESULT", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_DELAY, "EFFECT_DELAY", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_NO_ANSWER, "EFFECT_NO_ANSWER", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_CLOSE, "EFFECT_CLOSE", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_LENGTH, "EFFECT_LENGTH", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_GARBAGE, "EFFECT_GARBAGE", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_DUPLICATE, "EFFECT_DUPLICATE", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_DROP, "EFFECT_DROP", "VeskControlFault"},
    {"effect", VESK_CONTROL_EFFECT_DIE, "EFFECT_DIE", "VeskControlFault"},
    {"trigger", VESK_CONTROL_AT_TIME, "AT_TIME", "VeskControlStep"},
    {"trigger", VESK_CONTROL_AT_MATCH, "AT_MATCH", "VeskControlStep"},
    {"kind", VESK_CONTROL_SAW_REQUEST, "SAW_REQUEST", "VeskControlMessage"},
    {"kind", VESK_CONTROL_SAW_ANSWER, "SAW_ANSWER", "VeskControlMessage"},
    {"kind", VESK_CONTROL_SAW_NO_ANSWER, "SAW_NO_ANSWER", "VeskControlMessage"},
    {"kind", VESK_CONTROL_SAW_NOTIFICATION, "SAW_NOTIFICATION", "VeskControlMessage"},
    {"kind", VESK_CONTROL_SAW_DROPPED, "SAW_DROPPED", "VeskControlMessage"},
    {"kind", VESK_CONTROL_SAW_LAST, "SAW_LAST", "VeskControlMessage"},
};

constexpr RequestText kRequestTexts[] = {
#include "decoder/request_texts.inc"
};

constexpr HeaderArgument kFields[] = {
    {"uwSubMsgID", offsetof(VeskVideoMsgHead, uwSubMsgID), 2, UINT16_MAX, HeaderField::kSubMsgID},
    {"ulParam1", offsetof(VeskVideoMsgHead, ulParam1), 8, UINT64_MAX, HeaderField::kParam1},
    {"ulParam2", offsetof(VeskVideoMsgHead, ulParam2), 4, UINT32_MAX, HeaderField::kParam2},
};

void NameArguments(Listing& listing, const messages::Argument (&arguments)[3])
{
    for (HeaderArgument& field : listing.arguments) {
        const messages::Argument& argument = arguments[static_cast<size_t>(field.field)];
        if (!argument.IsUsed())
            continue;
        const bool isPointer = argument.IsPointer();
        field.name = argument.Name();
        field.isListed = true;
        field.isSigned = argument.IsSigned();
        field.isHandle = isPointer || field.name.ends_with("Handle");
        if (listing.direction == Direction::kRequest && !isPointer) // the functions take 32 bits
            field.limit = std::min<uint64_t>(field.limit, UINT32_MAX);
    }
}

} // namespace

const RequestText* RequestTextOf(uint32_t request)
{
    const auto* found = std::find_if(std::begin(kRequestTexts), std::end(kRequestTexts),
                                     [&](const RequestText& text) { return text.request == request; });
    return found != std::end(kRequestTexts) ? found : nullptr;
}

Listing Decoder::Describe(Direction direction, uint32_t number) const
{
    Listing listing{direction, number, {}, {}, {}, {std::begin(kFields), std::end(kFields)}, nullptr};
    if (direction == Direction::kNotification) {
        if (const messages::Notification* listed = messages::FindAnyNotification(number)) {
            listing.fullName = listed->name;
            listing.form = &listed->payload;
            NameArguments(listing, listed->arguments);
        }
    } else if (const messages::Request* listed = messages::FindAnyRequest(number)) {
        listing.fullName = listed->name;
        listing.function = listed->function;
        listing.form = direction == Direction::kRequest ? &listed->payload : &listed->answer;
        if (direction == Direction::kRequest)
            NameArguments(listing, listed->arguments);
    }
    listing.name = ShortName(listing.fullName);
    if (direction == Direction::kAnswer)
        listing.arguments.erase(listing.arguments.begin()); // the result
    return listing;
}

const RecordType* Decoder::PayloadRecord(const Listing& listing) const
{
    switch (listing.form->kind) {
    case messages::Kind::kRecord:
    case messages::Kind::kArray:
        return records_.Shown(listing.form->type);
    case messages::Kind::kBytes:
        return records_.Shown(std::string(listing.fullName) +
                              (listing.direction == Direction::kAnswer ? " answer" : " payload"));
    default:
        return nullptr;
    }
}

std::span<const ValueWithName> ValuesWithNames()
{
    return kNamedValues;
}

bool Decoder::IsNamed(const ValueWithName& known, std::string_view record, std::string_view field) const
{
    return known.field == field && (known.record.empty() || known.record == record) &&
           (!known.isVirtualServices || peer_ == Peer::kVirtualService);
}

std::string_view Decoder::ValueName(const Field& field) const
{
    for (const ValueWithName& known : kNamedValues) {
        if (IsNamed(known, field.record, field.LastName()) &&
            (field.value == Value(known.value) || field.value == Value(static_cast<int64_t>(known.value))))
            return known.name;
    }
    return {};
}

std::optional<uint64_t> Decoder::NamedValue(const Place& place, std::string_view name) const
{
    for (const ValueWithName& known : kNamedValues) {
        if (IsNamed(known, place.record, place.name) && known.name == name)
            return known.value;
    }
    return {};
}

} // namespace vesk::decoder
