// What the service tells its clients, and how tests take it.
#include "tools/veskctl/check/told.h"

#include "decoder/names.h"
#include "decoder/text.h"

#include <algorithm>
#include <cstddef>

namespace vesk::ctl::check {

using namespace std::chrono_literals;

std::string NameOf(uint32_t number)
{
    const messages::Notification* listed = messages::FindNotification(number);
    return listed == nullptr ? std::to_string(number) : std::string(decoder::ShortName(listed->name));
}

std::string TextOf(Trial& trial, const std::vector<Notified>& all)
{
    std::string text;
    for (const Notified& one : all)
        text += (text.empty() ? "" : "; ") + Line(trial.Decoder(), one.message);
    return text.empty() ? "none" : text;
}

void ExpectUsable(Trial& trial, const Notified& one)
{
    const messages::Notification* listed = messages::FindNotification(one.Number());
    trial.Expect(listed != nullptr, "only notifications that are listed", "number " + NameOf(one.Number()));
    const size_t size = one.arrived.data.size();
    trial.Expect(size >= sizeof(VeskVideoMsgHead), "a notification to begin with a header of 24 bytes",
                 std::to_string(size) + " bytes");
    if (listed == nullptr || listed->payload.kind != messages::Kind::kRecord)
        return;
    const size_t payload = size - sizeof(VeskVideoMsgHead);
    const bool isExact = one.Number() == VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY ||
                         one.Number() == VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY ||
                         one.Number() == VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY;
    trial.Expect(isExact ? payload == listed->payload.size : payload >= listed->payload.size,
                 NameOf(one.Number()) + " to have " + (isExact ? "" : "at least ") +
                     std::to_string(listed->payload.size) + " bytes after its header",
                 std::to_string(payload) + " bytes");
    if (one.Number() == VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY || !isExact)
        return;
    const auto name =
        one.arrived.data.begin() + sizeof(VeskVideoMsgHead) + offsetof(VeskVideoDisplayLink, portName);
    const auto end = name + sizeof(VeskVideoDisplayLink::portName);
    trial.Expect(std::find(name, end, std::byte{0}) != end, "portName to end within its field",
                 "64 characters without an end");
}

void Require(Trial& trial, bool isStated, bool holds, const std::string& expected, const std::string& got)
{
    if (isStated || trial.TheSurvey().isVirtual)
        trial.Expect(holds, expected, got);
    else
        trial.Advise(holds, expected, got);
}

namespace {

bool IsOfPort(const Notified& one)
{
    return one.Number() >= VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY &&
           one.Number() <= VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY;
}

} // namespace

PortCounts CountPorts(Trial& trial)
{
    Actor& client = trial.NewClient();
    const Profile& profile = trial.TheProfile();
    PortCounts counts;
    for (const PortKind& kind : kPortKinds)
        counts.*kind.count = static_cast<size_t>(client.Send(kind.counted).Number("count"));
    size_t expected = (profile.Sends(kPortKinds[0].state) ? counts.displays : 0) +
                      (profile.Sends(kPortKinds[1].state) ? counts.inputs : 0);
    for (const auto deadline = Clock::now() + kLongest; counts.told < expected; ++counts.told) {
        const auto one =
            client.Await(IsOfPort, std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()));
        if (!one)
            break;
        for (const PortKind& kind : kPortKinds) {
            const bool hasFormat = one->Number() == kind.state && one->Field("val").value_or(0) != 0;
            expected += hasFormat && profile.Sends(kind.format) ? 1 : 0;
        }
    }
    trial.Leave(client);
    return counts;
}

std::vector<Notified> TakePorts(Actor& client, const PortCounts& counts)
{
    std::vector<Notified> told;
    while (told.size() < counts.told) {
        auto one = client.Await(IsOfPort, kLongest);
        if (!one)
            break;
        told.push_back(std::move(*one));
    }
    return told;
}

Actor& AnnouncedClient(Trial& trial, const PortCounts& counts)
{
    Actor& client = trial.NewClient();
    TakePorts(client, counts);
    return client;
}

std::vector<Notified> TakeAllSoFar(Actor& client, const PortCounts& counts)
{
    client.Announce();
    TakePorts(client, counts);
    return client.TakeAll(0ms);
}

} // namespace vesk::ctl::check
