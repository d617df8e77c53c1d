// What tests of lives share: things by kind, and clients that have one or all of a kind.
#pragma once

#include "tools/veskctl/check/things.h"
#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

/// It can be started, and so can the one that $number stands for: if it is a port, something is plugged in.
bool CanStart(const Trial& trial, const Thing& thing);

/// A case for each kind of thing that the device has and that the test @p concerns, with a client.
void EachThing(Trial& trial, const std::function<bool(const Thing&)>& concerns,
               const std::function<void(const Thing&, Actor&)>& body);

/// Creates a thing if the client has none, and sets what it needs to be started. @throw NotTried
void Configure(Actor& client, const Thing& thing);
/// The same, and starts it.
void Start(Actor& client, const Thing& thing);

/// Creates things until one is refused, and returns the numbers of these; stops at @p most.
std::vector<uint64_t> FillUp(Actor& client, const Thing& thing, size_t most = 32);

/// Closes the thing of that number.
void Destroy(Trial& trial, Actor& client, const Thing& thing, uint64_t number);

} // namespace vesk::ctl::check
