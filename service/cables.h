// What is plugged into the ports.
#pragma once

#include "service/request.h"
#include "vesk_service/control.h"

namespace vesk::service {

class Service;

class Cables {
public:
    explicit Cables(Service& service) : service_(service) {}

    Result Plug(Argument<"direction">, Argument<"port">, const VeskControlMode&);
    Result Unplug(Argument<"direction">, Argument<"port">);
    Result SetMode(Argument<"direction">, Argument<"port">, const VeskControlMode&);

private:
    template <class Action>
    Result At(uint64_t direction, uint64_t port, Action action);

    Service& service_;
};

} // namespace vesk::service
