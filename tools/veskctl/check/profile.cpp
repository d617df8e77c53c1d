// What a device does differently from what the interface allows every device.
#include "tools/veskctl/check/profile.h"

#include "base/error.h"
#include "base/file.h"
#include "base/toml_table.h"
#include "decoder/names.h"
#include "vesk_service/control_list.h"

namespace vesk::ctl::check {

using namespace decoder;

namespace {

/// A message by its name, as @p find has it. @throw Error that says where the name is
template <class Find>
uint32_t NumberOf(const std::string& name, const TomlValue& at, Find find)
{
    try {
        const uint32_t number = find(name).number;
        if (!messages::IsControl(number))
            return number;
    } catch (const Error& error) {
        at.Fail(error.what());
    }
    at.Fail("it is no part of the interface");
}

/// The code with which a request is refused; nothing: any.
std::optional<uint32_t> CodeIn(const TomlValue& value)
{
    constexpr char kExpected[] = "the code of a refusal, by name or number, or \"any\"";
    if (!value.IsText())
        return static_cast<uint32_t>(value.Integer(1, UINT32_MAX));
    const std::string text = value.Text(kExpected);
    const std::optional<uint32_t> code = FindResult(text);
    if (text != "any" && code.value_or(VESK_VIDEO_OK) == VESK_VIDEO_OK)
        value.Refuse(kExpected);
    return code;
}

std::optional<uint32_t> PortIn(const std::optional<TomlValue>& value)
{
    return value ? std::optional(static_cast<uint32_t>(value->Integer(0, UINT32_MAX))) : std::nullopt;
}

std::vector<uint32_t> PortsIn(const std::optional<TomlValue>& value)
{
    std::vector<uint32_t> ports;
    for (const TomlValue& entry : value ? value->Entries() : std::vector<TomlValue>{})
        ports.push_back(*PortIn(entry));
    return ports;
}

} // namespace

Profile ReadProfile(const std::string& file)
{
    Profile profile;
    TomlTable table(FileContents(file), file);
    if (const auto found = table.Find("requests")) {
        TomlTable requests = found->Table();
        for (const std::string& name : requests.Keys()) {
            const TomlValue value = *requests.Find(name);
            const uint32_t number = NumberOf(name, value, RequestNamed);
            if (!profile.missing.emplace(number, CodeIn(value)).second)
                value.Fail("this request has been given before");
        }
    }
    if (const auto found = table.Find("notifications")) {
        TomlTable notifications = found->Table();
        for (const TomlValue& name : notifications.Need("unsent", "an array of names").Entries())
            profile.unsentNotifications.insert(
                NumberOf(name.Text("the name of a notification"), name, NotificationNamed));
        notifications.End();
    }
    if (const auto found = table.Find("ports")) {
        TomlTable ports = found->Table();
        profile.inputs = PortsIn(ports.Find("inputs"));
        profile.outputs = PortsIn(ports.Find("outputs"));
        profile.camera = PortIn(ports.Find("camera"));
        ports.End();
    }
    table.End();
    return profile;
}

} // namespace vesk::ctl::check
