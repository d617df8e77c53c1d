// The last messages of all applications, while somebody looks.
#pragma once

#include "tools/recording/exchange.h"
#include "tools/web/device.h"

#include <condition_variable>
#include <deque>
#include <thread>

namespace vesk::web {

/// Has the service show its messages as long as somebody asks for them, so that a device that nobody looks at
/// has nothing to do for it. Any thread may call.
class Messages {
public:
    /// @param client  Outlives the messages, which are the only ones to take its notifications.
    Messages(Device& device, ctl::Client& client);
    ~Messages();
    Messages(const Messages&) = delete;

    struct Wanted {
        std::optional<uint64_t> after; ///< Number of the last message that is known; none: the newest ones.
        std::vector<std::string> terms;
        size_t most;
    };

    /// {"messages": [...], "next": N, "lost": N}. @throw Failure for terms that cannot be used
    std::string After(const Wanted& wanted);

private:
    /// An exchange, which has a number.
    struct Seen {
        uint64_t number;
        recording::Exchange exchange;
    };
    using SeenList = std::deque<std::shared_ptr<const Seen>>;

    struct Extract {
        SeenList seen;
        uint64_t last;
        uint64_t firstNs;
    };

    void Work();
    void WatchWhileAsked();
    bool IsAsked() const;
    bool GoesOn();
    void Add(recording::Exchange&& exchange);
    /// Messages after a number, or all.
    Extract Copy(const std::optional<uint64_t>& after);

    Device& device_;
    ctl::Client& client_;
    std::mutex lock_; ///< Guards what follows.
    std::condition_variable changed_;
    SeenList seen_;
    uint64_t last_ = 0; ///< Number of the last message; those that are lost have numbers, too.
    size_t bytes_ = 0;  ///< Of the messages that are kept.
    std::optional<uint64_t> firstNs_;
    std::optional<std::chrono::steady_clock::time_point> asked_;
    bool isEnded_ = false;
    std::thread thread_; ///< The last, since it uses the others.
};

} // namespace vesk::web
