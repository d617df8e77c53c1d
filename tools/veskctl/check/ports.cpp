// What the service tells a client of its ports when it announces itself.
#include "tools/veskctl/check/ports.h"

namespace vesk::ctl::check {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

PortCounts CountPorts(Trial& trial)
{
    Actor& client = trial.NewClient();
    PortCounts counts;
    for (const PortKind& kind : kPortKinds) {
        if (trial.TheProfile().Sends(kind.state))
            counts.*kind.count = static_cast<size_t>(client.Send(kind.counted).Number("count"));
    }
    trial.Leave(client);
    return counts;
}

std::vector<Notified> TakePorts(Trial& trial, Actor& client, const PortCounts& counts)
{
    std::vector<Notified> told;
    const auto isOfPort = [](const Notified& one) {
        return one.Number() >= VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY &&
               one.Number() <= VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY;
    };
    const auto deadline = Clock::now() + kLongest;
    for (size_t missing = counts.All(); missing > 0; --missing) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        const auto one = client.Await(isOfPort, left);
        if (!one)
            break;
        for (const PortKind& kind : kPortKinds) {
            const bool hasFormat = one->Number() == kind.state && one->Field("val").value_or(0) != 0;
            missing += hasFormat && trial.TheProfile().Sends(kind.format) ? 1 : 0;
        }
        told.push_back(*one);
    }
    return told;
}

Actor& AnnouncedClient(Trial& trial, const PortCounts& counts)
{
    Actor& client = trial.NewClient();
    TakePorts(trial, client, counts);
    return client;
}

std::vector<Notified> TakeAllSoFar(Trial& trial, Actor& client, const PortCounts& counts)
{
    client.Announce();
    TakePorts(trial, client, counts);
    return client.TakeAll(0ms);
}

} // namespace vesk::ctl::check
