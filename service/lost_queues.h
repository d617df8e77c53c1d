// Engines and channels whose queue is gone.
#pragma once

#include <cstdint>
#include <set>
#include <string_view>
#include <tuple>

namespace vesk::service {

class Service;

/// They go on without it, as the message that destroys a queue has no answer that could refuse it.
class LostQueues {
public:
    explicit LostQueues(Service& service) : service_(service) {}

    /// Logs those that have lost their queue since the last time.
    void Look();

private:
    using Loss = std::tuple<std::string_view, uint32_t, uint32_t>; // kind and number of the user, the queue

    Service& service_;
    std::set<Loss> known_;
};

} // namespace vesk::service
