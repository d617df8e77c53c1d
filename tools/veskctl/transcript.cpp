// Recorded messages as "trace", "decode" and "device watch" show them, or record them.
#include "tools/veskctl/transcript.h"

#include "decoder/json.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output.h"

#include <algorithm>
#include <cinttypes>

namespace vesk::ctl {

using namespace decoder;
using namespace recording;
using nlohmann::ordered_json;

namespace {

double Milliseconds(uint64_t ns)
{
    return static_cast<double>(ns) / 1e6;
}

/// What became of a message. No words for a notification that was handled: its duration says it.
std::string Ending(const Exchange& exchange, const Decoder& decoder, const Decoded* answer)
{
    if (!exchange.end)
        return exchange.begin.kind == Kind::kAnswer ? "" : " -> not ended";
    const Event& end = *exchange.end;
    std::string text;
    if (answer != nullptr)
        text = " -> " + Line(decoder, *answer);
    else if (end.kind == Kind::kDone && !end.comment.empty())
        text = " -> " + end.comment;
    else if (exchange.begin.isSent && end.platformResult != 0)
        text = " -> no answer: " + ResultText(end.platformResult);
    else if (exchange.begin.isSynchronous)
        text = " -> not answered";
    else if (exchange.begin.isSent)
        text = " -> sent";
    if (end.durationNs == 0) // not known
        return text;
    char duration[32];
    std::snprintf(duration, sizeof duration, " %.2f ms", Milliseconds(end.durationNs));
    return text + duration;
}

ordered_json EventJson(const Event& event)
{
    return Object({{"time", static_cast<double>(event.realtimeNs) / 1e9},
                   {"monotonic", static_cast<double>(event.monotonicNs) / 1e9},
                   {"program", event.program},
                   {"process", event.process},
                   {"thread", event.thread},
                   {"exchange", event.exchange}});
}

ordered_json ExchangeJson(const Exchange& exchange, const Decoded& message, const Decoded* answer)
{
    ordered_json json = EventJson(exchange.begin);
    json["sent"] = exchange.begin.isSent;
    json["from"] = exchange.begin.sendProcName + '/' + exchange.begin.sendTaskName;
    json["to"] = exchange.begin.recvProcName + '/' + exchange.begin.recvTaskName;
    json[exchange.begin.kind == Kind::kRequest        ? "request"
         : exchange.begin.kind == Kind::kNotification ? "notification"
                                                      : "answer"] = ToJson(message);
    if (answer != nullptr)
        json["answer"] = ToJson(*answer);
    if (!exchange.end)
        return json;
    const Event& end = *exchange.end;
    if (answer == nullptr && exchange.begin.isSent && end.platformResult != 0)
        json["error"] = Object({{"code", end.platformResult}, {"name", ResultName(end.platformResult)}});
    if (!end.comment.empty())
        json["note"] = end.comment;
    json["ms"] = Milliseconds(end.durationNs);
    return json;
}

} // namespace

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

std::string Transcript::Origin(const Event& event) const
{
    const auto sinceFirst = static_cast<int64_t>(event.monotonicNs - *firstNs_);
    char text[160];
    std::snprintf(text, sizeof text, "%.6f %s[%u%s] ", static_cast<double>(sinceFirst) / 1e9,
                  event.program.c_str(), event.process,
                  event.thread == 0 ? "" : (':' + std::to_string(event.thread)).c_str());
    return text;
}

void Transcript::Finish()
{
    while (const std::optional<Exchange> exchange = joiner_.TakeOpen())
        Show(*exchange);
}

void Transcript::Show(const Exchange& exchange)
{
    const Event& begin = exchange.begin;
    if (begin.kind == Kind::kNote || begin.kind == Kind::kDone)
        return ShowNote(begin);
    if (out_ == nullptr && ShowsAll() && !options_.hasSummary) {
        ++shown_;
        return;
    }
    const Decoder& decoder = settings_.Decoder();
    const Decoded message = decoder.Decode(begin.Message());
    std::optional<Decoded> answer;
    if (exchange.end && exchange.end->kind == Kind::kAnswer && exchange.end->platformResult == 0)
        answer = decoder.Decode(exchange.end->Message());
    const Decoded* answered = answer ? &*answer : nullptr;
    const uint64_t durationNs = exchange.end ? exchange.end->durationNs : begin.durationNs;
    if (!filter_.Matches(message, answered) || Milliseconds(durationNs) < options_.slowMs)
        return;
    ++shown_;
    if (output_ != nullptr && !ShowsAll()) {
        output_->Append(begin);
        if (exchange.end)
            output_->Append(*exchange.end);
    }
    const bool isAnswered =
        !begin.isSynchronous || (answered != nullptr && answered->result == VESK_VIDEO_OK);
    Count(exchange, message,
          !isAnswered || (begin.isSent && exchange.end && exchange.end->platformResult != 0));
    if (out_ == nullptr)
        return;
    if (settings_.json) {
        PutLine(out_, Dump(ExchangeJson(exchange, message, answered)));
        return;
    }
    const char* direction = begin.isSent ? (begin.kind == Kind::kNotification ? "-> " : "") : "<- ";
    PutLine(out_, Origin(begin) + direction + (begin.kind == Kind::kAnswer ? message.Title() + " -> " : "") +
                      Line(decoder, message) + Ending(exchange, decoder, answered));
}

void Transcript::ShowNote(const Event& note)
{
    if (out_ == nullptr || !ShowsAll() || note.comment.empty())
        return;
    if (settings_.json) {
        ordered_json json = EventJson(note);
        json["note"] = note.comment;
        PutLine(out_, Dump(json));
        return;
    }
    PutLine(out_, Origin(note) + "-- " + note.comment);
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
