// How durations are distributed, in bounded memory.
#pragma once

#include <array>
#include <cstdint>

namespace vesk::ctl {

/// Counts durations of up to 18 minutes in 1152 buckets, each at most 1/32 as wide as the durations in it.
class Durations {
public:
    void Add(uint64_t ns);

    uint64_t Count() const { return count_; }

    /// The duration, in milliseconds, that so many percent of them do not exceed; within 2 % of it. 0 if
    /// there are none.
    double Percentile(uint64_t percent) const;

private:
    static constexpr unsigned kBitsOfBucket = 5;
    static constexpr unsigned kMostBits = 40;

    std::array<uint32_t, (kMostBits - kBitsOfBucket + 1) << kBitsOfBucket> buckets_{};
    uint64_t count_ = 0;
};

} // namespace vesk::ctl
