// Requests and notifications as the subcommands send, receive and show them.
#include "tools/veskctl/exchange.h"

#include "decoder/json.h"
#include "steering/refusal.h"
#include "tools/veskctl/output.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace vesk::ctl {

using namespace decoder;
using nlohmann::ordered_json;

namespace {

/// The fields of INIT; those that are not given name this client.
std::vector<Assignment> WithOwnName(std::vector<Assignment> fields)
{
    for (const Assignment& own : {Assignment{"procName", OwnProcessName()}, {"taskName", kOwnTaskName}}) {
        if (std::none_of(fields.begin(), fields.end(),
                         [&](const Assignment& given) { return given.path == own.path; }))
            fields.push_back(own);
    }
    return fields;
}

} // namespace

bool IsAnswered(uint32_t request)
{
    const messages::Request* listed = messages::FindAnyRequest(request);
    return listed == nullptr || listed->answer.kind != messages::Kind::kUnanswered;
}

Prepared Prepare(const Decoder& decoder, const std::string& name, const std::vector<Assignment>& fields,
                 const Bytes* raw)
{
    Prepared request;
    const std::optional<uint64_t> number = ParseNumber(name);
    if (raw != nullptr && number && *number <= UINT16_MAX)
        request.number = static_cast<uint32_t>(*number);
    else
        request.number = RequestNamed(name).number;
    request.isAnswered = IsAnswered(request.number);
    if (raw != nullptr)
        request.data = decoder.EncodeRaw(Direction::kRequest, request.number, fields, *raw);
    else if (request.number == VESK_VIDEO_MSG_INIT)
        request.data = decoder.Encode(Direction::kRequest, request.number, WithOwnName(fields));
    else
        request.data = decoder.Encode(Direction::kRequest, request.number, fields);
    return request;
}

Call Perform(Client& client, const Decoder& decoder, const Prepared& request, uint32_t timeoutMs)
{
    Call call{decoder.Decode({Direction::kRequest, request.number, request.data}), std::nullopt, {}};
    call.outcome = client.Send(request.number, request.data, request.isAnswered, timeoutMs);
    if (request.isAnswered && call.outcome.platformResult == 0)
        call.answer = decoder.Decode({Direction::kAnswer, request.number, call.outcome.answer});
    return call;
}

Call PerformSteering(Settings& settings, const Prepared& request)
{
    if (settings.steer)
        return settings.steer(request);
    Client client(settings.service, Client::Interrupt::kEndsProgram);
    Call call = Perform(client, settings.Decoder(), request, VESK_VIDEO_SYNC_TIMEOUT);
    RequireOk(call);
    return call;
}

void RequireAnswer(const Call& call)
{
    if (call.outcome.platformResult != 0)
        throw NoAnswer(call.request.Title(), call.outcome);
}

void RequireOk(const Call& call)
{
    RequireAnswer(call);
    if (!call.answer)
        return;
    if (const uint32_t result = call.answer->result; result != VESK_VIDEO_OK) {
        if (messages::IsControl(call.request.number)) {
            if (const std::string text = steering::RefusalText(call.request, result); !text.empty())
                throw Failure(kRefused, text + ": " + ResultText(result));
            if (result == VESK_SERVICE_ERR_REQUEST)
                throw Failure(kRefused, "the service cannot be steered this way: it does not know " +
                                            call.request.Title() + ": " + ResultText(result));
        }
        std::string text = "the service refused " + call.request.Title() + ": " + ResultText(result);
        for (const ResultCode& known : ResultCodes()) {
            if (known.code == result)
                text += ": " + std::string(known.meaning);
        }
        throw Failure(kRefused, text);
    }
    if (!call.answer->problem.empty())
        throw Failure(kFailed, call.request.Title() + " got a malformed answer: " + call.answer->problem);
}

std::string CallLine(const Decoder& decoder, const Call& call)
{
    char duration[32];
    std::snprintf(duration, sizeof duration, " %.2f ms", call.outcome.duration.count());
    std::string line = Line(decoder, call.request);
    if (call.answer)
        line += " -> " + Line(decoder, *call.answer);
    else if (call.outcome.platformResult != 0)
        line += " -> no answer: " + ResultText(call.outcome.platformResult);
    else
        line += " -> sent";
    return line + duration;
}

std::string CallJson(const Call& call)
{
    ordered_json json = Object({{"request", ToJson(call.request)}});
    if (call.answer)
        json["answer"] = ToJson(*call.answer);
    else if (call.outcome.platformResult != 0)
        json["error"] = Object({{"code", call.outcome.platformResult},
                                {"name", ResultName(call.outcome.platformResult)},
                                {"reason", call.outcome.reason}});
    json["ms"] = call.outcome.duration.count();
    return Dump(json);
}

Decoded DecodeArrived(const Decoder& decoder, const Arrived& arrived)
{
    return decoder.Decode({Direction::kNotification, arrived.number, arrived.data});
}

std::string ArrivedJson(const Decoded& notification, const Arrived& arrived)
{
    ordered_json json =
        Object({{"time", std::chrono::duration<double>(arrived.time.time_since_epoch()).count()}});
    json.update(ToJson(notification));
    return Dump(json);
}

void PrintObject(const Members& members)
{
    ordered_json json;
    for (const auto& [name, value] : members) {
        if (const auto* message = std::get_if<Decoded>(&value))
            json[name] = ToJson(*message);
        else if (const auto* text = std::get_if<std::string>(&value))
            json[name] = *text;
        else if (const auto* real = std::get_if<double>(&value))
            json[name] = *real;
        else
            json[name] = std::get<uint64_t>(value);
    }
    PrintLine(Dump(json));
}

} // namespace vesk::ctl
