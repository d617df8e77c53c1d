// What the list of messages and the headers say about a message and its values.
#include "decoder/decoder.h"
#include "vesk_service/control_list.h"

#include <algorithm>

namespace vesk::decoder {

namespace {

using messages::HeaderField;

/// A value that has a name, in all fields of one name.
struct ValueWithName {
    std::string_view field;
    uint64_t value;
    std::string_view name;
    Decoder::Peer peer = Decoder::Peer::kUnknown; ///< With which peer it has the name; kUnknown: with any.
};

constexpr ValueWithName kNamedValues[] = {
    {"cmdType", VESK_VIDEO_CAM_CTRL_QUERY, "CAM_CTRL_QUERY"},
    {"camCtrlCmd", VESK_VIDEO_CAM_CTRL_QUERY, "CAM_CTRL_QUERY"},
    {"codcType", VESK_VIDEO_ENC_SVC_SW, "ENC_SVC_SW"},
    {"codecType", VESK_VIDEO_DEC_SVC_SW, "DEC_SVC_SW"},
    {"portType", VESK_VIDEO_PORT_TYPE_NET_CAMERA, "PORT_TYPE_NET_CAMERA"},
    {"cmdType", VESK_SERVICE_CAM_LEFT, "CAM_LEFT", Decoder::Peer::kVirtualService},
    {"cmdType", VESK_SERVICE_CAM_RIGHT, "CAM_RIGHT", Decoder::Peer::kVirtualService},
    {"cmdType", VESK_SERVICE_CAM_UP, "CAM_UP", Decoder::Peer::kVirtualService},
    {"cmdType", VESK_SERVICE_CAM_DOWN, "CAM_DOWN", Decoder::Peer::kVirtualService},
};

/// What the headers say of a request.
struct RequestText {
    uint32_t request;
    std::string_view summary;
    std::string_view needs;
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

void DescribeRequest(Listing& listing)
{
    for (const RequestText& text : kRequestTexts) {
        if (text.request == listing.number) {
            listing.summary = text.summary;
            listing.needs = text.needs;
        }
    }
}

} // namespace

Listing Decoder::Describe(Direction direction, uint32_t number) const
{
    Listing listing{direction, number, {}, {}, {}, {std::begin(kFields), std::end(kFields)}, nullptr, {}, {}};
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
        if (direction == Direction::kRequest) {
            NameArguments(listing, listed->arguments);
            DescribeRequest(listing);
        }
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

std::string_view Decoder::ValueName(std::string_view field, const Value& value) const
{
    for (const ValueWithName& known : kNamedValues) {
        const bool isKnown = known.peer == Peer::kUnknown || known.peer == peer_;
        if (isKnown && known.field == field &&
            (value == Value(known.value) || value == Value(static_cast<int64_t>(known.value))))
            return known.name;
    }
    return {};
}

std::optional<uint64_t> Decoder::NamedValue(std::string_view field, std::string_view name) const
{
    for (const ValueWithName& known : kNamedValues) {
        const bool isKnown = known.peer == Peer::kUnknown || known.peer == peer_;
        if (isKnown && known.field == field && known.name == name)
            return known.value;
    }
    return {};
}

} // namespace vesk::decoder
