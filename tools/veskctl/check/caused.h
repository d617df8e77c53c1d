// What requests have the service notify: each once, to the right client, in the right order.
#pragma once

namespace vesk::ctl::check {

class Trial;

/// Encoders, decoders and loops.
void ChannelsNotify(Trial& trial);
/// Cameras, displays, and what these show besides.
void PicturesNotify(Trial& trial);
/// A client that changes its things in turns is told in the same order.
void NotifiedInOrder(Trial& trial);

} // namespace vesk::ctl::check
