// Which requests the service serves, and with what.
#pragma once

#include "service/request.h"

namespace vesk::service {

class Service;

struct ServedRequest {
    uint16_t number;
    const char* name;
    uint32_t payloadSize;
    /// Serves a request whose payload has that size; appends the answer's payload to @p answer.
    Result (*serve)(Service&, const Request&, std::vector<std::byte>& answer);
};

/// Null for a number that is not served.
const ServedRequest* FindRequest(uint32_t number);

} // namespace vesk::service
