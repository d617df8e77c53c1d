// Recorded messages as "trace", "decode" and "device watch" show them, or record them.
#include "tools/veskctl/transcript.h"

#include "decoder/json.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/shown_exchange.h"

#include <algorithm>
#include <cinttypes>

namespace vesk::ctl {

using namespace decoder;
using namespace recording;
using nlohmann::ordered_json;

std::vector<Option> TranscriptOptionsOf(TranscriptOptions& options)
{
    return {
        {.name = "--match",
         .place = &options.terms,
         .help = "Only messages of this name, pattern, number or FIELD=VALUE; may be repeated",
         .isOneEach = true,
         .names = Names::kMessage},
        {.name = "--slow",
         .place = &options.slowMs,
         .help = "Only what took at least this many milliseconds"},
        {.name = "--summary",
         .place = &options.hasSummary,
         .help = "At the end, show calls, failures and times by request"},
    };
}

Transcript::Transcript(Settings& settings, const TranscriptOptions& options, std::FILE* out,
                       recording::Output* output)
    : settings_(settings), options_(options), out_(out), output_(output),
      filter_(Usage([&] { return Filter(settings.Decoder(), options.terms); }))
{
}

void Transcript::Add(Event&& event)
{
    if (!firstNs_)
        firstNs_ = event.monotonicNs;
    if (output_ != nullptr && ShowsAll())
        output_->Append(event);
    if (const std::optional<Exchange> exchange = joiner_.Add(std::move(event)))
        Show(*exchange);
}

void Transcript::Finish()
{
    while (const std::optional<Exchange> exchange = joiner_.TakeOpen())
        Show(*exchange);
}

void Transcript::Show(const Exchange& exchange)
{
    const Event& begin = exchange.begin;
    const bool isNote = begin.kind == Kind::kNote || begin.kind == Kind::kDone;
    if (!isNote && out_ == nullptr && ShowsAll() && !options_.hasSummary) {
        ++shown_;
        return;
    }
    const ShownExchange shown(settings_.Decoder(), exchange);
    if (isNote) {
        if (ShowsAll() && !begin.comment.empty())
            Print(shown);
        return;
    }
    const Decoded* answer = shown.Answer();
    const uint64_t durationNs = exchange.end ? exchange.end->durationNs : begin.durationNs;
    if (!filter_.Matches(shown.Message(), answer) || Milliseconds(durationNs) < options_.slowMs)
        return;
    ++shown_;
    if (output_ != nullptr && !ShowsAll()) {
        output_->Append(begin);
        if (exchange.end)
            output_->Append(*exchange.end);
    }
    const bool isAnswered = !begin.isSynchronous || (answer != nullptr && answer->result == VESK_VIDEO_OK);
    Count(exchange, shown.Message(),
          !isAnswered || (begin.isSent && exchange.end && exchange.end->platformResult != 0));
    Print(shown);
}

void Transcript::Print(const ShownExchange& shown)
{
    if (out_ != nullptr)
        PutLine(out_, settings_.json ? Dump(shown.ToJson()) : shown.Line(*firstNs_));
}

void Transcript::Count(const Exchange& exchange, const Decoded& message, bool isFailed)
{
    if (!options_.hasSummary || exchange.begin.kind != Kind::kRequest)
        return;
    Tally& tally = tallies_[message.Title()];
    tally.failures += isFailed ? 1 : 0;
    if (exchange.end)
        tally.durationsNs.push_back(exchange.end->durationNs);
    else
        ++tally.unended;
}

void Transcript::Summarize(std::FILE* out) const
{
    if (!options_.hasSummary)
        return;
    ordered_json rows = ordered_json::array();
    if (!settings_.json)
        PutFormatted(out, "%-32s %9s %9s %10s %10s %10s  (ms)", "request", "calls", "failures", "median",
                     "99%", "longest");
    for (const auto& [name, tally] : tallies_) {
        std::vector<uint64_t> sorted = tally.durationsNs;
        std::sort(sorted.begin(), sorted.end());
        const auto quantile = [&](size_t percent) {
            const size_t rank = (sorted.size() * percent + 99) / 100; // nearest rank
            return sorted.empty() ? 0.0 : Milliseconds(sorted[rank - 1]);
        };
        const size_t calls = sorted.size() + tally.unended;
        if (settings_.json)
            rows.push_back(Object({{"request", name},
                                   {"calls", calls},
                                   {"failures", tally.failures},
                                   {"medianMs", quantile(50)},
                                   {"p99Ms", quantile(99)},
                                   {"longestMs", quantile(100)}}));
        else
            PutFormatted(out, "%-32s %9zu %9" PRIu64 " %10.3f %10.3f %10.3f", name.c_str(), calls,
                         tally.failures, quantile(50), quantile(99), quantile(100));
    }
    if (settings_.json)
        PutLine(out, Dump(Object({{"summary", rows}})));
}

} // namespace vesk::ctl
