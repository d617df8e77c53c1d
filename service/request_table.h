// Which requests the service serves, and with what.
#pragma once

#include "service/message_list.h"

namespace vesk::service {

class Service;

/// Serves a request whose payload has a length that it may have; appends the answer's payload.
using ServeFunction = Result (*)(Service&, const Request&, Bytes& answer);

struct ServedRequest {
    messages::Request listed;
    ServeFunction serve;
};

/// Null for a number that is not a request's.
const ServedRequest* FindRequest(uint32_t number);

} // namespace vesk::service
