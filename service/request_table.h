// The service's request table: every request, and what serves it.
#pragma once

#include "service/request.h"
#include "vesk_service/control_list.h"

namespace vesk::service {

class Service;

/// Serves a request whose payload has been checked; appends the payload of the answer.
using ServeFunction = Result (*)(Service&, const Request&, Bytes& answer);

struct Row {
    uint32_t number;
    bool isQuery; ///< Nothing that a display shows changes by it.
    messages::Form payload;
    messages::Form answer;
    ServeFunction serve;
};

/// The row of a request number, or null.
const Row* FindRow(uint32_t number);

} // namespace vesk::service
