// How often each request was answered with which result, and how long that took.
#pragma once

#include "service/request.h"

#include <array>
#include <chrono>
#include <map>
#include <span>

namespace vesk::service {

/// Requests by their result and duration. All that a client can do is count up: the memory is taken at the
/// beginning.
class Counters {
public:
    Counters();

    void Count(uint32_t number, Result result) noexcept;
    /// Counts how long one has taken that is answered now.
    void Took(uint32_t number, std::chrono::steady_clock::duration) noexcept;

    /// Durations are counted by the lowest of these that they do not exceed.
    static constexpr std::array<uint64_t, 15> kBoundsNs = {
        100'000,     250'000,     500'000,       1'000'000,     2'500'000,
        5'000'000,   10'000'000,  25'000'000,    50'000'000,    100'000'000,
        250'000'000, 500'000'000, 1'000'000'000, 2'500'000'000, 5'000'000'000};

    struct Durations {
        uint64_t sumNs = 0;
        std::array<uint64_t, kBoundsNs.size() + 1> counts{}; ///< The last one: of longer ones.
    };

    struct Tally {
        Result result = kOk;
        uint64_t count = 0;
    };

    /// One request: its results in the order in which they first came.
    struct Row {
        static constexpr size_t kMost = 16; ///< More than the service has of its own.

        std::array<Tally, kMost> tallies{};
        size_t used = 0;
        uint64_t others = 0; ///< Of results beyond those.
        Durations durations{};

        std::span<const Tally> Results() const { return std::span(tallies).first(used); }
    };

    /// Every listed request by its number, also those that never came.
    const std::map<uint32_t, Row>& Listed() const { return listed_; }
    /// All requests with numbers that are not listed.
    uint64_t Unlisted() const { return unlisted_; }

private:
    std::map<uint32_t, Row> listed_;
    uint64_t unlisted_ = 0;
};

} // namespace vesk::service
