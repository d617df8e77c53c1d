// Why the virtual device did not do as a command said, in the words of the command.
#include "steering/refusal.h"

#include "decoder/text.h"
#include "vesk_service/control.h"

namespace vesk::steering {

using namespace decoder;

namespace {

/// What a result code means for a request; a name in braces stands for a field's value.
struct Refusal {
    uint32_t request;
    uint32_t result;
    const char* text;
};
constexpr char kIsNoPort[] = "there is no {direction} {port}";
constexpr char kModeIsOutOfRange[] =
    "the mode {width}x{height}@{fr} of {direction} {port} is out of range; expected at most 16384x16384@1000";
constexpr Refusal kRefusals[] = {
    {VESK_CONTROL_PLUG, VESK_SERVICE_ERR_NUMBER, kIsNoPort},
    {VESK_CONTROL_PLUG, VESK_SERVICE_ERR_STATE, "{direction} {port} is plugged in already"},
    {VESK_CONTROL_PLUG, VESK_SERVICE_ERR_VALUE, kModeIsOutOfRange},
    {VESK_CONTROL_UNPLUG, VESK_SERVICE_ERR_NUMBER, kIsNoPort},
    {VESK_CONTROL_UNPLUG, VESK_SERVICE_ERR_STATE, "{direction} {port} is unplugged already"},
    {VESK_CONTROL_MODE, VESK_SERVICE_ERR_NUMBER, kIsNoPort},
    {VESK_CONTROL_MODE, VESK_SERVICE_ERR_UNPLUGGED, "nothing is plugged into {direction} {port}"},
    {VESK_CONTROL_MODE, VESK_SERVICE_ERR_VALUE, kModeIsOutOfRange},
    {VESK_CONTROL_NOTIFY, VESK_SERVICE_ERR_NUMBER, "there is no client '{procName}'"},
    {VESK_CONTROL_FAULT_ADD, VESK_SERVICE_ERR_ROOM, "there are as many faults as there can be"},
    {VESK_CONTROL_FAULT_CLEAR, VESK_SERVICE_ERR_NUMBER, "there is no fault {fault}"},
    {VESK_CONTROL_TIME, VESK_SERVICE_ERR_STATE,
     "the device's time runs by itself; it can be moved only if the service was started with --step"},
    {VESK_CONTROL_WATCH, VESK_SERVICE_ERR_ROOM, "there are as many watchers as there can be"},
};

/// Nothing if the field is not there, is cut off or has no such value.
std::optional<std::string> ValueOf(const Decoded& request, std::string_view name)
{
    for (const Field& field : request.fields) {
        if (field.path != name)
            continue;
        const auto* number = std::get_if<uint64_t>(&field.value);
        if (name == "direction" && number != nullptr && *number <= VESK_CONTROL_OUTPUT)
            return *number == VESK_CONTROL_OUTPUT ? "output" : "input";
        if (const auto* text = std::get_if<std::string>(&field.value))
            return *text;
        if (number != nullptr && name != "direction")
            return std::to_string(*number);
    }
    return std::nullopt;
}

} // namespace

std::string RefusalText(const Decoded& request, uint32_t result)
{
    for (const Refusal& refusal : kRefusals) {
        if (refusal.request != request.number || refusal.result != result)
            continue;
        std::string text;
        for (std::string_view rest = refusal.text; !rest.empty();) {
            const size_t open = rest.find('{');
            text += rest.substr(0, open);
            if (open == rest.npos)
                break;
            const size_t close = rest.find('}');
            const std::optional<std::string> value =
                ValueOf(request, rest.substr(open + 1, close - open - 1));
            if (!value)
                return "";
            text += *value;
            rest.remove_prefix(close + 1);
        }
        return text;
    }
    return "";
}

} // namespace vesk::steering
