// What the rows of the request table are made of. A serving function's parameters say what it takes of the
// request and what it answers; each row holds them to the list of messages.
//
//     Argument<"stmNo">         an argument that travels in the header
//     const Sender&             who sent the request
//     const Record&             the payload: a record,
//     std::span<const Entry>    an array or, of std::byte, bytes,
//     std::string_view          or a text
//     Record*                   the answer: a record or number,
//     std::vector<Entry>*       an array or, of std::byte, bytes
#pragma once

#include "service/request_table.h"
#include "service/service.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <tuple>
#include <type_traits>

namespace vesk::service {

using messages::HeaderField;

template <uint32_t request>
using PayloadOf = typename messages::RequestTypes<request>::Payload;
template <uint32_t request>
using AnswerOf = typename messages::RequestTypes<request>::Answer;

/// The header field of the one argument whose name fulfils @p predicate.
template <class Predicate>
consteval std::optional<HeaderField> OneField(uint32_t request, Predicate predicate)
{
    std::optional<HeaderField> found;
    for (const HeaderField field : {HeaderField::kSubMsgID, HeaderField::kParam1, HeaderField::kParam2}) {
        const messages::Argument& argument = messages::FindAnyRequest(request)->At(field);
        if (!argument.IsUsed() || !predicate(std::string_view(argument.Name())))
            continue;
        if (found)
            return {};
        found = field;
    }
    return found;
}

template <uint32_t request, Name... names>
consteval HeaderField FieldNamed()
{
    constexpr auto field =
        OneField(request, [](std::string_view name) { return ((name == std::string_view(names)) || ...); });
    static_assert(field.has_value(), "the list gives this request no argument of this name");
    return field.value_or(HeaderField{});
}

template <uint32_t request, Name... names>
consteval HeaderField FieldBeside()
{
    constexpr auto field =
        OneField(request, [](std::string_view name) { return ((name != std::string_view(names)) && ...); });
    static_assert(field.has_value(), "the list does not give this request exactly one other argument");
    return field.value_or(HeaderField{});
}

// Parameters of serving functions

/// Makes a parameter of a serving function from a request; what the function leaves in it is appended to the
/// answer.
template <uint32_t request, class Parameter>
struct Carrier;

template <size_t payloads, size_t answers>
struct Carries {
    static constexpr size_t kPayloads = payloads;
    static constexpr size_t kAnswers = answers;
    void AppendTo(Bytes&) const {}
};

template <uint32_t request, class Form>
struct PayloadCarrier : Carries<1, 0> {
    static_assert(std::is_same_v<Form, PayloadOf<request>>, "the list gives this request another payload");
};

template <uint32_t request, class Form>
struct AnswerCarrier : Carries<0, 1> {
    static_assert(std::is_same_v<Form, AnswerOf<request>>, "the list gives this request another answer");
};

/// The form of several entries; an array's count travels where @p Listed says.
template <class Entry, class Listed>
using Several = std::conditional_t<std::is_same_v<Entry, std::byte>, messages::Bytes,
                                   messages::Array<Entry, Listed::kForm.count>>;

template <class Record>
void Append(Bytes& answer, std::span<const Record> records)
{
    const auto bytes = std::as_bytes(records);
    answer.insert(answer.end(), bytes.begin(), bytes.end());
}

template <HeaderField field>
struct HeaderCarrier : Carries<0, 0> {
    uint64_t value;

    explicit HeaderCarrier(const Request& in) : value(ValueOf(in.head, field)) {}
    uint64_t Pass() { return value; }
};

template <uint32_t request, Name name>
struct Carrier<request, Argument<name>> : HeaderCarrier<FieldNamed<request, name>()> {
    using Carrier::HeaderCarrier::HeaderCarrier;
};

template <uint32_t request>
struct Carrier<request, const Sender&> : Carries<0, 0> {
    const Sender& sender;

    explicit Carrier(const Request& in) : sender(in.sender) {}
    const Sender& Pass() { return sender; }
};

template <uint32_t request, class Record>
struct Carrier<request, const Record&> : PayloadCarrier<request, messages::Record<Record>> {
    Record record;

    explicit Carrier(const Request& in) { std::memcpy(&record, in.payload.data(), sizeof record); }
    const Record& Pass() { return record; }
};

template <uint32_t request, class Entry>
struct Carrier<request, std::span<const Entry>>
    : PayloadCarrier<request, Several<Entry, PayloadOf<request>>> {
    std::vector<Entry> entries;

    explicit Carrier(const Request& in) : entries(in.payload.size() / sizeof(Entry))
    {
        if (!entries.empty())
            std::memcpy(entries.data(), in.payload.data(), entries.size() * sizeof(Entry));
    }
    std::span<const Entry> Pass() { return entries; }
};

template <uint32_t request>
struct Carrier<request, std::string_view>
    : PayloadCarrier<request, messages::Text<PayloadOf<request>::kForm.size>> {
    std::string_view text;

    explicit Carrier(const Request& in) : text(reinterpret_cast<const char*>(in.payload.data())) {}
    std::string_view Pass() { return text; }
};

template <uint32_t request, class Record>
struct Carrier<request, Record*> : AnswerCarrier<request, messages::Record<Record>> {
    Record record{};

    explicit Carrier(const Request&) {}
    Record* Pass() { return &record; }
    void AppendTo(Bytes& answer) const { Append(answer, std::span(&record, 1)); }
};

template <uint32_t request, class Entry>
struct Carrier<request, std::vector<Entry>*> : AnswerCarrier<request, Several<Entry, AnswerOf<request>>> {
    std::vector<Entry> entries;

    explicit Carrier(const Request&) {}
    std::vector<Entry>* Pass() { return &entries; }
    void AppendTo(Bytes& answer) const { Append(answer, std::span(entries)); }
};

// Parts of the service, and the things in them

template <class Wanted, class First, class... Others>
Wanted& Select(First& first, Others&... others)
{
    if constexpr (std::is_base_of_v<Wanted, First>)
        return first;
    else
        return Select<Wanted>(others...);
}

/// The part of the service that is a @p Part.
template <class Part>
Part& PartOf(Service& service)
{
    return Select<Part>(service, service.inputs, service.outputs, service.codecs, service.mice, service.uvc,
                        service.overlays, service.queues, service.device, service.cables, service.timeline,
                        service.faults, service.scenario, service.watchers, service.state);
}

/// A collection of things, and the names of the argument by which a request names one of them.
template <auto collection, Name... names>
struct Things;

template <class Part, class Collection, Collection Part::*collection, Name... names>
struct Things<collection, names...> {
    using Thing = std::remove_pointer_t<decltype(std::declval<Collection&>().Find(0))>;

    static Collection& In(Service& service) { return PartOf<Part>(service).*collection; }
};

/// The argument beside the one that names a thing of @p Place.
template <class Place>
struct OtherArgument;

template <uint32_t request, auto collection, Name... names>
struct Carrier<request, Things<collection, names...>> : HeaderCarrier<FieldNamed<request, names...>()> {
    using Carrier::HeaderCarrier::HeaderCarrier;
};

template <uint32_t request, auto collection, Name... names>
struct Carrier<request, OtherArgument<Things<collection, names...>>>
    : HeaderCarrier<FieldBeside<request, names...>()> {
    using Carrier::HeaderCarrier::HeaderCarrier;
};

// Rows; Place is a Things. Their type is auto so that an error within one is reported with the row's line.

/// A row of a function that takes the service and @p Parameters; its answer counts when it succeeds.
template <uint32_t request, class... Parameters, class Function>
consteval auto RowOf(Function)
{
    constexpr bool hasPayload = !std::is_same_v<PayloadOf<request>, messages::Nothing>;
    constexpr bool isAnswered = !std::is_same_v<AnswerOf<request>, messages::Nothing> &&
                                !std::is_same_v<AnswerOf<request>, messages::Unanswered>;
    static_assert((0 + ... + Carrier<request, Parameters>::kPayloads) == (hasPayload ? 1 : 0),
                  "the list gives this request a payload, which the function does not take");
    static_assert((0 + ... + Carrier<request, Parameters>::kAnswers) == (isAnswered ? 1 : 0),
                  "the list gives this request an answer, which the function does not give");
    return Row{*messages::FindAnyRequest(request), [](Service& service, const Request& in, Bytes& answer) {
                   std::tuple<Carrier<request, Parameters>...> carriers{Carrier<request, Parameters>(in)...};
                   return std::apply(
                       [&](auto&... carrier) {
                           const Result result = Function()(service, carrier.Pass()...);
                           if (result == kOk)
                               (carrier.AppendTo(answer), ...);
                           return result;
                       },
                       carriers);
               }};
}

/// A row of a function that takes the service, the thing that the request names, and @p Parameters.
template <uint32_t request, class Place, class... Parameters, class Function>
consteval auto RowAt(Function)
{
    return RowOf<request, Place, Parameters...>([](Service& service, uint64_t number, auto&&... parameters) {
        auto* thing = Place::In(service).Find(number);
        return thing != nullptr ? Function()(service, *thing, parameters...)
                                : Result{VESK_SERVICE_ERR_NUMBER};
    });
}

template <uint32_t request, auto function, class Part, class... Parameters>
consteval auto RowOfMember(Result (Part::*)(Parameters...))
{
    return RowOf<request, Parameters...>([](Service& service, Parameters... parameters) {
        return (PartOf<Part>(service).*function)(parameters...);
    });
}

template <uint32_t request, class Place, auto function, class Part, class... Parameters>
consteval auto RowAtMember(Result (Part::*)(typename Place::Thing&, Parameters...))
{
    return RowAt<request, Place, Parameters...>([](Service& service, auto& thing, Parameters... parameters) {
        return (PartOf<Part>(service).*function)(thing, parameters...);
    });
}

template <uint32_t request, class Place, auto function, class Thing, class... Parameters>
requires std::is_base_of_v<Thing, typename Place::Thing>
consteval auto RowAtMember(Result (Thing::*)(Parameters...))
{
    return RowAt<request, Place, Parameters...>(
        [](Service&, auto& thing, Parameters... parameters) { return (thing.*function)(parameters...); });
}

/// Served by a function of a part.
template <uint32_t request, auto function>
consteval Row Served()
{
    return RowOfMember<request, function>(function);
}

/// Served by a function of the thing that the request names, or by one of a part that takes the thing.
template <uint32_t request, class Place, auto function>
consteval Row ServedAt()
{
    return RowAtMember<request, Place, function>(function);
}

template <class Thing, auto field>
using FieldType = std::remove_reference_t<decltype(std::declval<Thing&>().*field)>;

/// Stores the payload in a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Stored()
{
    using Field = FieldType<typename Place::Thing, field>;
    return RowAt<request, Place, const Field&>([](Service&, auto& thing, const Field& payload) {
        thing.*field = payload;
        return kOk;
    });
}

/// Answers with a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Read()
{
    using Field = FieldType<typename Place::Thing, field>;
    return RowAt<request, Place, Field*>([](Service&, auto& thing, Field* answer) {
        *answer = thing.*field;
        return kOk;
    });
}

/// Keeps the request's one other argument in a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Kept()
{
    using Field = FieldType<typename Place::Thing, field>;
    return RowAt<request, Place, OtherArgument<Place>>([](Service&, auto& thing, uint64_t value) {
        thing.*field = static_cast<Field>(value);
        return kOk;
    });
}

/// Keeps the number of a queue, or 0 for none, in a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Attached()
{
    return RowAt<request, Place, Argument<"queHandle">>(
        [](Service& service, auto& thing, Argument<"queHandle"> queHandle) {
            if (queHandle != 0 && !service.queues.Has(queHandle))
                return Result{VESK_SERVICE_ERR_NUMBER};
            thing.*field = static_cast<uint32_t>(queHandle);
            return kOk;
        });
}

/// Creates a thing for the sender; the answer is its number.
template <uint32_t request, class Place>
consteval Row Created()
{
    return RowOf<request, const Sender&, uint32_t*>(
        [](Service& service, const Sender& sender, uint32_t* number) {
            return Place::In(service).Create(sender, number);
        });
}

/// Takes the thing away.
template <uint32_t request, class Place>
consteval Row Erased()
{
    return RowAt<request, Place>([](Service& service, auto& thing) {
        Place::In(service).Erase(thing);
        return kOk;
    });
}

} // namespace vesk::service
