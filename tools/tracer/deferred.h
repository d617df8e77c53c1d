// Requests whose handlers have deferred their answers.
#pragma once

#include "tools/tracer/recorder.h"

namespace vesk::tracer {

struct DeferredRequest {
    TracedExchange exchange; ///< Its number is 0 if there is none.
    OsMsgEnvelope request;   ///< Its names and number.
};

/**
 * Keeps what is needed to record an answer under the number that the platform gave it. Takes no lock and no
 * memory. There is room for twice as many as can be owed; those that are never taken, as their senders have
 * gone, make room for others.
 */
void Keep(uint64_t number, const DeferredRequest& deferred);

/// Takes it out, for one caller.
DeferredRequest Take(uint64_t number);

} // namespace vesk::tracer
