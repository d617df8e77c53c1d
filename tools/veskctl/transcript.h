// Recorded messages as "trace", "decode" and "device watch" show them, or record them.
#pragma once

#include "base/command_line.h"
#include "decoder/filter.h"
#include "decoder/text.h"
#include "tools/recording/exchange.h"
#include "tools/recording/output.h"
#include "tools/veskctl/settings.h"

#include <cstdio>
#include <map>

namespace vesk::ctl {

class ShownExchange;

/// What the user wants to see.
struct TranscriptOptions {
    std::vector<std::string> terms;
    double slowMs = 0;
    bool hasSummary = false;
};

/// --match, --slow and --summary.
std::vector<Option> TranscriptOptionsOf(TranscriptOptions& options);

/// Shows messages, each when what became of it is known, and sums up.
class Transcript {
public:
    /// @param out     Where lines go; null: nowhere, only the summary is of interest.
    /// @param output  Where messages are recorded, if at all: at once if all of them are of interest.
    /// @throw Failure for an unknown name
    Transcript(Settings& settings, const TranscriptOptions& options, std::FILE* out,
               recording::Output* output = nullptr);

    void Add(recording::Event&& event);

    /// Shows what has no end.
    void Finish();

    /// How many exchanges were shown or counted.
    uint64_t Shown() const { return shown_; }

    /// Shows the summary, if the user wants it.
    void Summarize(std::FILE* out) const;

private:
    void Show(const recording::Exchange& exchange);
    void Print(const ShownExchange& shown);
    bool ShowsAll() const { return options_.terms.empty() && options_.slowMs <= 0; }
    void Count(const recording::Exchange& exchange, const decoder::Decoded& message, bool isFailed);

    struct Tally {
        uint64_t failures = 0;
        uint64_t unended = 0;
        std::vector<uint64_t> durationsNs; ///< Of all other calls.
    };

    Settings& settings_;
    const TranscriptOptions& options_;
    std::FILE* out_;
    recording::Output* output_;
    decoder::Filter filter_;
    recording::Joiner joiner_;
    std::optional<uint64_t> firstNs_;
    uint64_t shown_ = 0;
    std::map<std::string, Tally> tallies_; ///< By name of the request.
};

} // namespace vesk::ctl
