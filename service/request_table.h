// Which requests the service serves, and with what.
#pragma once

#include "service/request.h"
#include "vesk_video/message_list.h"

namespace vesk::service {

class Service;

/// Serves a request whose payload has a form that it may have; appends the answer's payload.
using ServeFunction = Result (*)(Service&, const Request&, Bytes& answer);

struct Row {
    const messages::Request& listed;
    ServeFunction serve;
};

/// Null for a number that is not a request's.
const Row* FindRow(uint32_t number);

} // namespace vesk::service
