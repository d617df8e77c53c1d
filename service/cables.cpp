// What is plugged into the ports.
#include "service/cables.h"

#include "service/service.h"

namespace vesk::service {

// Does something with a port; the action takes the ports of its direction, and the port.
template <class Action>
Result Cables::At(uint64_t direction, uint64_t port, Action action)
{
    const auto act = [&](auto& ports) {
        auto* found = ports.Find(port);
        return found != nullptr ? action(ports, *found) : Result{VESK_SERVICE_ERR_NUMBER};
    };
    if (direction == VESK_CONTROL_INPUT)
        return act(service_.inputs);
    if (direction == VESK_CONTROL_OUTPUT)
        return act(service_.outputs);
    return VESK_SERVICE_ERR_VALUE;
}

Result Cables::Plug(Argument<"direction"> direction, Argument<"port"> port, const VeskControlMode& mode)
{
    return At(direction, port, [&](auto& ports, auto& plugged) { return ports.Plug(plugged, mode); });
}

Result Cables::Unplug(Argument<"direction"> direction, Argument<"port"> port)
{
    return At(direction, port, [](auto& ports, auto& pulled) { return ports.Unplug(pulled); });
}

Result Cables::SetMode(Argument<"direction"> direction, Argument<"port"> port, const VeskControlMode& mode)
{
    return At(direction, port, [&](auto& ports, auto& changed) { return ports.SetMode(changed, mode); });
}

} // namespace vesk::service
