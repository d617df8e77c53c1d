// A recorded message and what became of it, as a line for people and as JSON.
#include "tools/veskctl/shown_exchange.h"

#include "decoder/json.h"
#include "decoder/text.h"

#include <cstdio>

namespace vesk::ctl {

using namespace decoder;
using namespace recording;
using nlohmann::ordered_json;

namespace {

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
                                                      : "answer"] = decoder::ToJson(message);
    if (answer != nullptr)
        json["answer"] = decoder::ToJson(*answer);
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

/// "12.004512 my-app[812:814] "
std::string Origin(const Event& event, uint64_t firstNs)
{
    const auto sinceFirst = static_cast<int64_t>(event.monotonicNs - firstNs);
    char text[160];
    std::snprintf(text, sizeof text, "%.6f %s[%u%s] ", static_cast<double>(sinceFirst) / 1e9,
                  event.program.c_str(), event.process,
                  event.thread == 0 ? "" : (':' + std::to_string(event.thread)).c_str());
    return text;
}

} // namespace

ShownExchange::ShownExchange(const Decoder& decoder, const Exchange& exchange)
    : decoder_(decoder), exchange_(exchange)
{
    const Event& begin = exchange.begin;
    if (begin.kind == Kind::kNote || begin.kind == Kind::kDone)
        return;
    message_ = decoder.Decode(begin.Message());
    if (exchange.end && exchange.end->kind == Kind::kAnswer && exchange.end->platformResult == 0)
        answer_ = decoder.Decode(exchange.end->Message());
}

std::string ShownExchange::Line(uint64_t firstNs) const
{
    const Event& begin = exchange_.begin;
    if (IsNote())
        return Origin(begin, firstNs) + "-- " + begin.comment;
    const char* direction = begin.isSent ? (begin.kind == Kind::kNotification ? "-> " : "") : "<- ";
    return Origin(begin, firstNs) + direction +
           (begin.kind == Kind::kAnswer ? message_->Title() + " -> " : "") +
           decoder::Line(decoder_, *message_) + Ending(exchange_, decoder_, Answer());
}

ordered_json ShownExchange::ToJson() const
{
    if (!IsNote())
        return ExchangeJson(exchange_, *message_, Answer());
    ordered_json json = EventJson(exchange_.begin);
    json["note"] = exchange_.begin.comment;
    return json;
}

} // namespace vesk::ctl
