// How durations are distributed, in bounded memory.
#include "tools/veskctl/durations.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace vesk::ctl {

// Numbers of a few bits have a bucket each. Of the others, only the first bits tell the bucket.
void Durations::Add(uint64_t ns)
{
    ns = std::min(ns, (uint64_t{1} << kMostBits) - 1);
    const auto bitsLeftOut = static_cast<unsigned>(std::bit_width(ns >> (kBitsOfBucket + 1)));
    ++buckets_[(bitsLeftOut << kBitsOfBucket) + (ns >> bitsLeftOut)];
    ++count_;
}

double Durations::Percentile(uint64_t percent) const
{
    uint64_t rank = (count_ * percent + 99) / 100; // nearest rank
    if (rank == 0)
        return 0;
    size_t bucket = 0;
    while (rank > buckets_[bucket])
        rank -= buckets_[bucket++];
    const size_t bitsLeftOut = std::max<size_t>(bucket >> kBitsOfBucket, 1) - 1;
    const uint64_t least = (bucket - (bitsLeftOut << kBitsOfBucket)) << bitsLeftOut;
    return (static_cast<double>(least) + static_cast<double>((uint64_t{1} << bitsLeftOut) - 1) / 2) / 1e6;
}

} // namespace vesk::ctl
