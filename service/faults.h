// Fault rules: what goes wrong with which messages.
#pragma once

#include "service/match.h"

#include <unistd.h>

#include <functional>
#include <map>
#include <optional>
#include <random>

namespace vesk::service {

/// What the rules make of a message.
struct Effects {
    enum class Fate { kGiven, kNone, kClosed }; ///< Of an answer or notification; none: never given or sent.

    std::optional<Result> result; ///< The answer's, to a request that is not served.
    uint64_t delayMs = 0;
    Fate fate = Fate::kGiven;
    uint32_t copies = 1; ///< Of a notification.

    bool IsDeferred() const { return delayMs != 0 || fate == Fate::kNone; }

    /// Changes an answer or notification. Of a notification only what follows the header becomes random.
    void Change(Bytes& data, size_t randomFrom) const;

    struct Alteration {
        bool isRandom = false;
        bool isRelative = false;
        int64_t length = 0;
        uint64_t seed = 0;
    };
    std::vector<Alteration> alterations;
};

/**
 * The rules, by number. What a rule does follows from its seed and the messages that it matched alone: the
 * same messages meet the same faults again.
 */
class Faults {
public:
    static constexpr int kExitStatus = 3; ///< Of a service that a rule has ended.

    Result Add(const VeskControlFault&, uint32_t* fault);
    Result List(Bytes* states);
    std::vector<VeskControlFaultState> States() const;
    Result Clear(Argument<"fault">);
    void Reset();

    /// Counts a message, and says what the rules that it hits make of it, after logging each.
    Effects Apply(const MessageView& message);

    /// Ends the service.
    std::function<void()> die = [] { _exit(kExitStatus); };

private:
    struct Rule {
        VeskControlFaultState state;
        std::mt19937_64 engine;

        bool Hits(const MessageView& message);
    };

    std::map<uint32_t, Rule> rules_;
    uint32_t last_ = 0;
};

} // namespace vesk::service
