// What a service has to do in an interval: requests, answers and notifications, in bounded memory.
#pragma once

#include "decoder/filter.h"
#include "tools/recording/exchange.h"
#include "tools/veskctl/durations.h"

#include <map>

namespace vesk::ctl {

/// Messages of one kind, counted.
struct Tally {
    uint64_t requests = 0;                ///< That have come to an end.
    Durations durations;                  ///< Of those that were answered, or are asynchronous.
    std::map<uint32_t, uint64_t> results; ///< How often each was answered.
    uint64_t otherResults = 0;            ///< Answers beyond the results that are told apart.
    uint64_t unanswered = 0;              ///< Synchronous requests.
    uint64_t sent = 0;                    ///< Notifications.
    uint64_t dropped = 0;

    uint64_t Messages() const { return requests + sent + dropped; }
};

/// An application or a message.
struct Subject {
    recording::Kind kind; ///< Note: an application.
    std::string name;
    uint32_t number; ///< Of a process or message.

    auto operator<=>(const Subject&) const = default;
};

using Tallies = std::map<Subject, Tally>;

struct Load {
    Tally all;
    Tallies applications;
    Tallies messages;
    uint64_t lost = 0;    ///< Messages that are not counted because the service could not show them in time.
    uint64_t waiting = 0; ///< Requests without an end so far, those of earlier intervals included.
};

/// Counts what is watched.
class LoadMeter {
public:
    /// @param terms  Which messages count; see Filter. @throw Error for an unknown name
    LoadMeter(const decoder::Decoder& decoder, const std::vector<std::string>& terms)
        : decoder_(decoder), filter_(decoder, terms), isFiltered_(!terms.empty())
    {
    }

    void Add(recording::Event&& event);
    void AddLost(uint64_t lost);

    /// What has been counted since the last call.
    Load Take();

private:
    bool Matches(const recording::Exchange& exchange) const;
    void Count(const recording::Exchange& exchange);

    const decoder::Decoder& decoder_;
    decoder::Filter filter_;
    bool isFiltered_;
    recording::Joiner joiner_;
    Load load_;
};

} // namespace vesk::ctl
