// The group "framing": lengths and forms of requests and answers.
#include "tools/veskctl/check/readings.h"
#include "tools/veskctl/check/things.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <iterator>

namespace vesk::ctl::check {

namespace {

using messages::HeaderField;
using messages::Kind;
using messages::Request;

constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);

/// A payload of this length instead of the right one; what is added is 0.
Bytes WithPayload(Bytes data, size_t size)
{
    data.resize(kHeadSize + size);
    return data;
}

Bytes WithText(Bytes data, const std::string& text, bool hasNul)
{
    data.resize(kHeadSize);
    const auto bytes = std::as_bytes(std::span(text.c_str(), text.size() + (hasNul ? 1 : 0)));
    data.insert(data.end(), bytes.begin(), bytes.end());
    return data;
}

void ExpectServed(Trial& trial, Actor& client)
{
    const Reply reply = client.Send("GET_VO_COUNT");
    trial.Expect(reply.IsOk(), "the next request to be served", "GET_VO_COUNT: " + reply.Text());
}

/// The library's caller has room for as many entries as it asks for, and takes no other number.
void ExpectEntries(Trial& trial, const Reply& reply, const Request& request, const Bytes& sent)
{
    const uint64_t wanted = ValueOf(HeadOf(sent), request.answer.count);
    const size_t entries = reply.Payload().size() / request.answer.size;
    trial.ExpectOk(reply);
    trial.Expect(entries == wanted, "as many entries as are asked for, " + std::to_string(wanted),
                 std::to_string(entries));
}

void Examples(Trial& trial)
{
    trial.EachRequest(AnyRequest, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Bytes example = client.Example(request);
        const Reply reply = client.Send(request.number, example);
        if (reply.IsRefused() && ExampleOf(request).mayBeRefused)
            return;
        trial.ExpectOk(reply);
        if (request.answer.kind == Kind::kArray)
            ExpectEntries(trial, reply, request, example);
    });
}

/// Lists of three entries, if the device has as many.
void Lists(Trial& trial)
{
    const auto isList = [](const Request& request) { return request.answer.kind == Kind::kArray; };
    trial.EachRequest(isList, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Bytes data = ForEntries(request, client.Example(request), 3);
        const Reply reply = client.Send(request.number, data);
        if (!reply.IsRefused())
            ExpectEntries(trial, reply, request, data);
    });
}

/// A request that must be refused.
struct Misfit {
    std::string why;
    Bytes data;
};

/// Expects that each of these, made of an example, is refused, and that the last one has disturbed nobody.
void EachMisfit(Trial& trial, const Trial::Concerns& concerns,
                const std::function<std::vector<Misfit>(const Request&, const Bytes&)>& misfits)
{
    trial.EachRequest(concerns, [&](const Request& request) {
        Actor& client = trial.NewClient();
        for (const Misfit& misfit : misfits(request, client.Example(request)))
            trial.ExpectRefused(client.Send(request.number, misfit.data), misfit.why);
        ExpectServed(trial, client);
    });
}

void ShortPayload(Trial& trial)
{
    const auto hasLength = [](const Request& request) { return request.payload.kind == Kind::kRecord; };
    EachMisfit(trial, hasLength, [](const Request& request, const Bytes& example) {
        return std::vector<Misfit>{
            {"its payload is missing", WithPayload(example, 0)},
            {"its payload lacks a byte", WithPayload(example, request.payload.size - 1)}};
    });
}

void LongPayload(Trial& trial)
{
    const auto hasLength = [](const Request& request) {
        return request.payload.kind == Kind::kRecord || request.payload.kind == Kind::kNone;
    };
    EachMisfit(trial, hasLength, [](const Request& request, const Bytes& example) {
        return std::vector<Misfit>{{"its payload has another length than the listed one",
                                    WithPayload(example, request.payload.size + 1)}};
    });
}

/// The first of the list whose payload and answer have these kinds; what is long is not sent as every one.
bool IsFirstOfItsKind(const Request& request)
{
    const auto* first =
        std::find_if(std::begin(messages::kRequests), std::end(messages::kRequests), [&](const Request& one) {
            return one.payload.kind == request.payload.kind && one.answer.kind == request.answer.kind;
        });
    return first == &request;
}

void LargestPayload(Trial& trial)
{
    const auto concerns = [](const Request& request) { // an array would be as many fields in a report
        return IsFirstOfItsKind(request) && request.payload.kind != Kind::kArray;
    };
    trial.EachRequest(concerns, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Bytes largest = WithPayload(client.Example(request), VESK_VIDEO_MAX_MESSAGE_SIZE - kHeadSize);
        const Reply reply = client.Send(request.number, largest);
        if (request.payload.kind != Kind::kBytes)
            trial.ExpectRefused(reply, "its payload is longer than listed");
        ExpectServed(trial, client);
    });
}

void Texts(Trial& trial)
{
    const auto isText = [](const Request& request) { return request.payload.kind == Kind::kText; };
    EachMisfit(trial, isText, [](const Request& request, const Bytes& example) {
        const size_t longest = request.payload.size; // with its NUL
        return std::vector<Misfit>{
            {"it has no text", WithPayload(example, 0)},
            {"its text has no NUL", WithText(example, "/check", false)},
            {"its text has no NUL", WithText(example, std::string(longest, '/'), false)},
            {"its text is longer than listed", WithText(example, std::string(longest, '/'), true)}};
    });
}

void Arrays(Trial& trial)
{
    const auto isArray = [](const Request& request) { return request.payload.kind == Kind::kArray; };
    EachMisfit(trial, isArray, [](const Request& request, const Bytes& example) {
        const messages::Form& form = request.payload;
        std::vector<Misfit> all;
        const auto add = [&](uint64_t count, size_t size) {
            Misfit misfit{"its count says " + std::to_string(count) + ", but its entries have " +
                              std::to_string(size) + " bytes",
                          WithPayload(example, size)};
            SetHeader(misfit.data, form.count, count);
            all.push_back(std::move(misfit));
        };
        add(1, 0);
        add(0, form.size);
        add(2, form.size);
        add(1, 2 * form.size);
        add(1, form.size - 1);
        add(UINT32_MAX, form.size);
        add((uint64_t{1} << 32) / form.size, 0); // so many have 0 bytes in 32 bits, and in 64 below
        if (form.count == HeaderField::kParam1)
            add(UINT64_MAX / form.size + 1, 0);
        return all;
    });
}

void UnknownNumbers(Trial& trial)
{
    const auto* last =
        std::max_element(std::begin(messages::kRequests), std::end(messages::kRequests),
                         [](const Request& a, const Request& b) { return a.number < b.number; });
    std::vector<uint32_t> numbers{last->number + 1U, 1000, 0x3fff, 0xffff};
    for (uint32_t number = 0; number < last->number; ++number) {
        if (messages::FindRequest(number) == nullptr)
            numbers.push_back(number);
    }
    for (const uint32_t number : numbers) {
        trial.Case(std::to_string(number), [&] {
            Actor& client = trial.NewClient();
            VeskVideoMsgHead head{};
            head.msgId = static_cast<uint16_t>(number);
            trial.ExpectRefused(client.Send(number, BytesOf(head)), "there is no such request");
            ExpectServed(trial, client);
        });
    }
}

/// A request with noise in the padding of its header and, if they are wanted, in its fields without a use.
Bytes WithNoise(const Request& request, Bytes data, bool hasFields)
{
    constexpr size_t kPadding = 20;
    std::fill(data.begin() + kPadding, data.begin() + kHeadSize, std::byte{0xa5});
    if (!hasFields)
        return data;
    for (const HeaderField field : {HeaderField::kSubMsgID, HeaderField::kParam1, HeaderField::kParam2}) {
        if (!request.At(field).IsUsed())
            SetHeader(data, field, 0x5aa55aa55aa55aa5);
    }
    std::fill_n(data.begin(), sizeof VeskVideoMsgHead::ulReserved, std::byte{0xa5});
    return data;
}

void Noise(Trial& trial)
{
    trial.EachRequest(AnyRequest, [&](const Request& request) {
        const auto send = [&](bool hasFields) {
            Actor& client = trial.NewClient();
            Reply reply = client.Send(request.number, WithNoise(request, client.Example(request), hasFields));
            trial.Leave(client);
            return reply;
        };
        const Reply reply = send(true);
        if (reply.IsOk() || ExampleOf(request).mayBeRefused)
            return;
        trial.ExpectOk(send(false));
        trial.Advise(false,
                     request.name + std::string(" to succeed whatever the header's unused fields hold"),
                     reply.Text());
    });
}

void RefusedAnswer(Trial& trial)
{
    const auto canBeLong = [](const Request& request) { return request.payload.kind != Kind::kBytes; };
    trial.EachRequest(canBeLong, [&](const Request& request) {
        Actor& client = trial.NewProcess();
        VeskVideoMsgHead head{};
        head.msgId = request.number;
        const Bytes header(BytesOf(head).begin(), BytesOf(head).end());
        const Reply reply = client.Send(request.number, WithPayload(header, request.payload.size + 1));
        const size_t size = reply.outcome.answer.size();
        if (!reply.IsRefused() && size >= kHeadSize)
            trial.Skip("it is not refused"); // what other tests tell
        const bool isBare = request.answer.kind == Kind::kNone;
        trial.Expect(isBare ? size == kHeadSize : size >= kHeadSize,
                     isBare ? "a refusal that is a header of 24 bytes" : "a refusal that has its header",
                     std::to_string(size) + " bytes");
    });
}

/// A command has no answer but its result, though the list gives the request one, which is that of a query.
void CommandAnswer(Trial& trial)
{
    Actor& client = trial.NewClient();
    if (!trial.CanBeTried(*messages::FindRequest(VESK_VIDEO_MSG_CAMERA_CONTROL)))
        trial.Skip("there is no camera");
    const Reply reply = client.Send("CAMERA_CONTROL inEngNo=$inEngNo cmdType=1");
    trial.ExpectOk(reply);
    trial.Expect(reply.Payload().empty(), "an answer without payload", reply.Text());
}

void TwoNumbers(Trial& trial)
{
    Actor& client = trial.NewClient();
    VeskVideoMsgHead head{};
    head.msgId = VESK_VIDEO_MSG_GET_VI_COUNT;
    const Reply reply = client.Send(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY, BytesOf(head));
    const size_t size = reply.Payload().size();
    ExpectServed(trial, client);
    trial.Advise(reply.IsRefused() || (reply.IsOk() && size == sizeof(VeskVideoEncodeCapability)),
                 "the envelope's number, 98, to be what is asked for, or a refusal",
                 reply.Text() + " with " + std::to_string(size) + " bytes, as the header's number is 5");
}

void NoHeader(Trial& trial)
{
    constexpr uint32_t kTimeoutMs = 1000; // it need not be answered
    trial.EachRequest(IsFirstOfItsKind, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Bytes example = client.Example(request);
        for (const size_t size : {0U, 1U, 4U, 8U, 23U}) {
            const Reply reply = client.Send(request.number, BytesView(example).first(size), kTimeoutMs);
            trial.Expect(!reply.IsOk(), "a message of " + std::to_string(size) + " bytes not to be served",
                         reply.Text());
            ExpectServed(trial, client);
            if (reply.outcome.platformResult != 0)
                return; // others are not waited for
        }
    });
}

void Unanswered(Trial& trial)
{
    for (const Request& request : messages::kRequests) {
        if (request.answer.kind != Kind::kUnanswered || !trial.TheProfile().Has(request.number))
            continue;
        trial.Case(std::string(decoder::ShortName(request.name)), [&] {
            Actor& other = trial.NewClient();
            other.The("encStmNo");
            other.The("outEngNo");
            Actor& client = trial.NewClient();
            const Bytes example = client.Example(request);
            const Readings before(trial, other);
            for (const size_t size : {size_t{1}, size_t{4096}})
                client.Send(request.number, WithPayload(example, size));
            for (const size_t size : {size_t{0}, kHeadSize - 1})
                client.Send(request.number, BytesView(example).first(size));
            ExpectServed(trial, client);
            before.ExpectSame(other, "another client's requests without an answer");
        });
    }
}

void RefusalChangesNothing(Trial& trial)
{
    const auto canBeLong = [](const Request& request) { return request.payload.kind != Kind::kBytes; };
    trial.EachRequest(canBeLong, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Bytes example = client.Example(request);
        const Readings before(trial, client);
        const size_t size = example.size() - kHeadSize;
        if (!client.Send(request.number, WithPayload(example, size + 1)).IsRefused())
            trial.Skip("it is not refused"); // what other tests tell
        before.ExpectSame(client, "a request that is refused");
        const Reply reply = client.Send(request.number, example);
        if (!ExampleOf(request).mayBeRefused)
            trial.ExpectOk(reply);
    });
}

constexpr Test kTests[] = {
    {"framing.example", "each request, sent as it should be, succeeds with an answer of the listed length",
     "an application that does what the interface says must get on, and it reads exactly that much", Examples,
     kNoticed},
    {"framing.list", "a list has as many entries as are asked for, or the request is refused",
     "the library takes an answer of another length for a failure", Lists},
    {"framing.command-answer", "a camera's command, other than the query, is answered with a header only",
     "the library takes an answer that is longer for a failure", CommandAnswer, kNoticed},
    {"framing.refused-answer", "a refusal is a header, or has one if the request has a longer answer",
     "the library reads the result from the header, and takes an answer of another length for a failure",
     RefusedAnswer},
    {"framing.short-payload", "each request whose payload is missing or lacks a byte is refused",
     "a service that takes too short a record reads what the client did not send", ShortPayload},
    {"framing.long-payload", "each request with one byte more is refused",
     "a record of another length is one of another version of the interface", LongPayload},
    {"framing.largest-payload",
     "requests of 4 MiB, the most that can be sent, are refused; bytes may be taken",
     "no client may hold up the service, or end it, by the length of what it sends", LargestPayload},
    {"framing.text", "a text that is missing, has no NUL or is longer than listed is refused",
     "a service that looks for the NUL reads beyond what the client sent", Texts},
    {"framing.array", "an array whose count and length disagree is refused",
     "a service that trusts the count reads beyond what the client sent", Arrays},
    {"framing.unknown-request", "requests of numbers that are not listed are refused",
     "an application of a newer interface must learn that the device does not know a request", UnknownNumbers,
     kNoticed}, // which may be those of a maker's own requests
    {"framing.noise", "each request succeeds with any bytes in the padding of its header",
     "neither side interprets the padding, and no client need clear it", Noise, kNoticed | kLong},
    {"framing.two-numbers", "where envelope and header have different numbers, the envelope's counts",
     "messages are dispatched by the envelope's number in the other direction, too", TwoNumbers},
    {"framing.no-header", "messages that are shorter than a header are not served",
     "a service that takes them reads what the client did not send", NoHeader},
    {"framing.unanswered", "requests without an answer and of a wrong length disturb nobody",
     "the sender cannot be told, and others must not suffer from it", Unanswered},
    {"framing.refusal", "a request that is refused for its length changes nothing, and then succeeds",
     "an application that is refused goes on from what it knows", RefusalChangesNothing, kNoticed | kLong},
};

} // namespace

std::span<const Test> FramingTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
