// How often each request was answered with which result.
#pragma once

#include "service/request.h"

#include <array>
#include <map>
#include <span>

namespace vesk::service {

/// Requests by their result. All that a client can do is count up: the memory is taken at the beginning.
class Counters {
public:
    Counters();

    void Count(uint32_t number, Result result) noexcept;

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
