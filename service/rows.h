// What the rows of the request table are made of. The parameters of a serving function say what it takes, and
// each row holds them to the list of messages.
//
//     Inputs&                   a part of the service, or the service itself,
//     InputEngine&              the thing that the request names
//     const Sender&             who sent the request
//     Argument<"stmNo">         an argument that travels in the header
//     const Record&             the payload: a record,
//     std::span<const Entry>    an array or, of std::byte, bytes,
//     std::string_view          or a text
//     Record*                   the answer: a record or number,
//     std::vector<Entry>*       an array or, of std::byte, bytes
//
// The object of a member function is its first parameter.
#pragma once

#include "service/request_table.h"
#include "service/service.h"

#include <optional>
#include <type_traits>

namespace vesk::service {

using messages::HeaderField;

// Payloads and answers

struct Nothing {};

/// What a payload or answer of a form is held in, and the parameter by which a function takes the payload.
template <class Form>
struct Carried {
    using Held = Nothing;
    using Parameter = void;
};
template <class Record>
struct Carried<messages::Record<Record>> {
    using Held = Record;
    using Parameter = const Record&;
};
template <class Entry, HeaderField count>
struct Carried<messages::Array<Entry, count>> {
    using Held = std::vector<Entry>;
    using Parameter = std::span<const Entry>;
};
template <>
struct Carried<messages::Bytes> {
    using Held = Bytes;
    using Parameter = BytesView;
};
template <size_t size>
struct Carried<messages::Text<size>> {
    using Held = std::string_view;
    using Parameter = std::string_view;
};

template <uint32_t request>
using PayloadOf = Carried<typename messages::RequestTypes<request>::Payload>;
template <uint32_t request>
using AnswerOf = Carried<typename messages::RequestTypes<request>::Answer>;

// A payload has been checked: it has the size of the record, and a text ends with its NUL.
inline void Load(Nothing&, BytesView) {}
inline void Load(std::string_view& text, BytesView payload)
{
    text = reinterpret_cast<const char*>(payload.data());
}
template <class Record>
void Load(Record& record, BytesView payload)
{
    std::memcpy(&record, payload.data(), sizeof record);
}
template <class Entry>
void Load(std::vector<Entry>& entries, BytesView payload)
{
    entries.resize(payload.size() / sizeof(Entry));
    if (!entries.empty())
        std::memcpy(entries.data(), payload.data(), payload.size());
}

inline BytesView BytesIn(const Nothing&)
{
    return {};
}
template <class Record>
BytesView BytesIn(const Record& record)
{
    return BytesOf(record);
}
template <class Entry>
BytesView BytesIn(const std::vector<Entry>& entries)
{
    return std::as_bytes(std::span(entries));
}

// Arguments

/// The one argument of a request that does not name a thing.
struct OtherArgument {
    uint64_t value;
};

/// The header field of the request's one argument that has one of the names or, unless @p isNamed, none.
consteval HeaderField FieldOf(uint32_t request, std::initializer_list<std::string_view> names,
                              bool isNamed = true)
{
    std::optional<HeaderField> found;
    const messages::Request& listed = *messages::FindAnyRequest(request);
    for (const HeaderField field : {HeaderField::kSubMsgID, HeaderField::kParam1, HeaderField::kParam2}) {
        const messages::Argument& argument = listed.At(field);
        const bool isAmong = std::find(names.begin(), names.end(), argument.Name()) != names.end();
        if (!argument.IsUsed() || isAmong != isNamed)
            continue;
        if (found)
            throw "the list gives this request several such arguments";
        found = field;
    }
    if (!found)
        throw "the list gives this request no such argument";
    return *found;
}

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
    static Thing* Find(Service& service, uint64_t number) { return In(service).Find(number); }

    static consteval HeaderField Number(uint32_t request) { return FieldOf(request, {names...}); }
    static consteval HeaderField Other(uint32_t request) { return FieldOf(request, {names...}, false); }
};

/// Of requests that name no thing.
struct NoThings {
    using Thing = void;
};

// Rows

void Append(Bytes& answer, BytesView bytes);

/// A request that is being served.
template <uint32_t request, class Place>
struct Call {
    Service& service;
    const Request& in;
    typename Place::Thing* thing = nullptr;
    typename PayloadOf<request>::Held payload{};
    typename AnswerOf<request>::Held answer{};

    /// What the serving function gets for a parameter.
    template <class Parameter>
    Parameter Get()
    {
        using Plain = std::remove_reference_t<Parameter>;
        if constexpr (requires { Plain::kName; }) {
            return ValueOf(in.head, FieldOf(request, {Plain::kName}));
        } else if constexpr (std::is_same_v<Plain, OtherArgument>) {
            return {ValueOf(in.head, Place::Other(request))};
        } else if constexpr (std::is_same_v<Plain, const Sender>) {
            return in.sender;
        } else if constexpr (std::is_pointer_v<Plain>) {
            static_assert(std::is_same_v<Plain, decltype(&answer)>,
                          "the list gives this request another answer");
            return &answer;
        } else if constexpr (!std::is_reference_v<Parameter> || std::is_const_v<Plain>) {
            static_assert(std::is_same_v<Parameter, typename PayloadOf<request>::Parameter>,
                          "the list gives this request another payload");
            return payload;
        } else if constexpr (std::is_base_of_v<Plain, typename Place::Thing>) {
            return *thing;
        } else {
            return PartOf<Plain>(service);
        }
    }
};

template <class Object, class... Parameters>
Result Do(Result (Object::*function)(Parameters...), Object& object,
          std::type_identity_t<Parameters>... parameters)
{
    return (object.*function)(parameters...);
}
template <class... Parameters>
Result Do(Result (*function)(Parameters...), std::type_identity_t<Parameters>... parameters)
{
    return function(parameters...);
}

template <uint32_t request, class Place, auto function, class... Parameters>
Result Serve(Service& service, const Request& in, Bytes& answer)
{
    Call<request, Place> call{.service = service, .in = in};
    if constexpr (!std::is_same_v<Place, NoThings>) {
        call.thing = Place::Find(service, ValueOf(in.head, Place::Number(request)));
        if (call.thing == nullptr)
            return VESK_SERVICE_ERR_NUMBER;
    }
    Load(call.payload, in.payload);
    const Result result = Do(function, call.template Get<Parameters>()...);
    if (result == kOk)
        Append(answer, BytesIn(call.answer));
    return result;
}

/// True for a request whose name says that it asks for something.
consteval bool IsQuery(uint32_t request)
{
    const std::string_view name = messages::FindAnyRequest(request)->name;
    return name.find("_GET_") != name.npos || name.find("_QUERY_") != name.npos ||
           request == VESK_CONTROL_STATE || request == VESK_CONTROL_SCENE ||
           request == VESK_CONTROL_FAULT_LIST;
}

// The type of these is auto so that an error within a row is reported with its line.

template <uint32_t request, class Place, auto function, class... Parameters>
consteval auto RowOf()
{
    using Payload = typename PayloadOf<request>::Parameter;
    using Answer = typename AnswerOf<request>::Held;
    static_assert(std::is_void_v<Payload> || (std::is_same_v<Parameters, Payload> || ...),
                  "the list gives this request a payload, which the function does not take");
    static_assert(std::is_same_v<Answer, Nothing> || (std::is_same_v<Parameters, Answer*> || ...),
                  "the list gives this request an answer, which the function does not give");
    return Row{request, IsQuery(request), messages::RequestTypes<request>::Payload::kForm,
               messages::RequestTypes<request>::Answer::kForm,
               &Serve<request, Place, function, Parameters...>};
}
template <uint32_t request, class Place, auto function, class Object, class... Parameters>
consteval auto RowOf(Result (Object::*)(Parameters...))
{
    return RowOf<request, Place, function, Object&, Parameters...>();
}
template <uint32_t request, class Place, auto function, class... Parameters>
consteval auto RowOf(Result (*)(Parameters...))
{
    return RowOf<request, Place, function, Parameters...>();
}

/// Served by a function of a part.
template <uint32_t request, auto function>
consteval Row Served()
{
    return RowOf<request, NoThings, function>(function);
}

/// Served by a function of the thing that the request names, or by one that takes the thing.
template <uint32_t request, class Place, auto function>
consteval Row ServedAt()
{
    return RowOf<request, Place, function>(function);
}

template <class Thing, auto field>
using FieldType = std::remove_reference_t<decltype(std::declval<Thing&>().*field)>;

template <class Thing, auto field>
Result Store(Thing& thing, const FieldType<Thing, field>& payload)
{
    thing.*field = payload;
    return kOk;
}
/// Stores the payload in a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Stored()
{
    return ServedAt<request, Place, &Store<typename Place::Thing, field>>();
}

template <class Thing, auto field>
Result ReadField(Thing& thing, FieldType<Thing, field>* answer)
{
    *answer = thing.*field;
    return kOk;
}
/// Answers with a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Read()
{
    return ServedAt<request, Place, &ReadField<typename Place::Thing, field>>();
}

template <class Thing, auto field>
Result Keep(Thing& thing, OtherArgument value)
{
    thing.*field = static_cast<FieldType<Thing, field>>(value.value);
    return kOk;
}
/// Keeps the request's one other argument in a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Kept()
{
    return ServedAt<request, Place, &Keep<typename Place::Thing, field>>();
}

template <class Thing, auto field>
Result Attach(Queues& queues, Thing& thing, Argument<"queHandle"> queHandle)
{
    if (queHandle != 0 && !queues.Has(queHandle))
        return VESK_SERVICE_ERR_NUMBER;
    thing.*field = static_cast<uint32_t>(queHandle);
    return kOk;
}
/// Keeps the number of a queue, or 0 for none, in a field of the thing.
template <uint32_t request, class Place, auto field>
consteval Row Attached()
{
    return ServedAt<request, Place, &Attach<typename Place::Thing, field>>();
}

template <class Place>
Result Create(Service& service, const Sender& sender, uint32_t* number)
{
    return Place::In(service).Create(sender, number);
}
/// Creates a thing for the sender; the answer is its number.
template <uint32_t request, class Place>
consteval Row Created()
{
    return Served<request, &Create<Place>>();
}

template <class Place>
Result Erase(Service& service, typename Place::Thing& thing)
{
    Place::In(service).Erase(thing);
    return kOk;
}
/// Takes the thing away.
template <uint32_t request, class Place>
consteval Row Erased()
{
    return ServedAt<request, Place, &Erase<Place>>();
}

} // namespace vesk::service
