// A display that shows as much as it can.
#pragma once

namespace vesk::bench {

/// Fills the first display of the service that this process is a client of, which has just started, with 25
/// pictures, 8 overlays and 2 pointers.
void FillDisplayOfService();

} // namespace vesk::bench
