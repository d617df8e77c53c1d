// The group "framing": lengths and forms of requests and answers.
#include "tools/veskctl/check/things.h"
#include "tools/veskctl/check/trial.h"
#include "vesk_video/message_list.h"

#include <cstring>

namespace vesk::ctl::check {

namespace {

using messages::Kind;
using messages::Request;

/// A payload of this length instead of the right one; what is added is 0.
Bytes WithPayload(Bytes data, size_t size)
{
    data.resize(sizeof(VeskVideoMsgHead) + size);
    return data;
}

void Examples(Trial& trial)
{
    const auto any = [](const Request&) { return true; };
    trial.EachRequest(any, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Reply reply = client.Send(request.number, client.Example(request));
        if (reply.IsRefused() && ExampleOf(request).mayBeRefused)
            return;
        trial.ExpectOk(reply);
        trial.Expect(reply.answer->problem.empty(), "an answer of the listed length", reply.Text());
    });
}

void WrongLength(Trial& trial, int more)
{
    const auto sizeOf = [=](const Request& request) {
        return static_cast<std::ptrdiff_t>(request.payload.size) + more;
    };
    const auto hasFixedLength = [&](const Request& request) {
        return (request.payload.kind == Kind::kRecord || request.payload.kind == Kind::kNone) &&
               sizeOf(request) >= 0;
    };
    trial.EachRequest(hasFixedLength, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Bytes example = client.Example(request);
        trial.ExpectRefused(
            client.Send(request.number, WithPayload(example, static_cast<size_t>(sizeOf(request)))),
            "its payload has another length than the listed one");
    });
}

constexpr Test kTests[] = {
    {"framing.example", "each request, sent as it should be, succeeds with an answer of the listed length",
     "an application that does what the interface says must get on, and it reads exactly that much", Examples,
     kNoticed},
    {"framing.short-payload", "each request with one byte less is refused",
     "a service that takes too short a record reads what the client did not send",
     [](Trial& trial) { WrongLength(trial, -1); }},
    {"framing.long-payload", "each request with one byte more is refused",
     "a record of another length is one of another version of the interface",
     [](Trial& trial) { WrongLength(trial, 1); }},
};

} // namespace

std::span<const Test> FramingTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
