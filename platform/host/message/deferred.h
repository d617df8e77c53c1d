// The answers that this process owes: their handlers have returned without giving them.
#pragma once

#include "platform/os_msg.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace vesk::host {

class Connection;

struct Deferred {
    std::shared_ptr<Connection> sender;
    OsMsgEnvelope request;
    uint64_t sequence = 0;
};

/**
 * Keeps what is needed to answer until it is taken. A forked child owes nothing, and its numbers go on from
 * its parent's. A connection may be locked meanwhile; no other lock is taken here.
 *
 * @return A number that is never given again; 0 when too many answers are owed. May throw std::bad_alloc.
 */
uint64_t KeepDeferred(Deferred deferred);

/// Takes it out, for the one caller who then answers or closes. None when that has been done already.
std::optional<Deferred> TakeDeferred(uint64_t number);

} // namespace vesk::host
