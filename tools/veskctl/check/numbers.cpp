// The group "values": numbers that are handed out, and those that are not.
#include "decoder/identity.h"
#include "tools/veskctl/check/things.h"
#include "tools/veskctl/check/values.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace vesk::ctl::check {

using namespace decoder;
using messages::Request;

namespace {

/// A number that no service hands out, though it fits into 16 bits.
constexpr uint64_t kNever = 0xffef;

/// Numbers that the client chooses.
constexpr struct {
    uint32_t request;
    std::string_view number;
} kChosen[] = {
    {VESK_VIDEO_MSG_CREATE_QUEUE, "queHandle"},
    {VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, "overlayChn"},
};

bool IsChosen(const Request& request, std::string_view number)
{
    return std::any_of(std::begin(kChosen), std::end(kChosen), [&](const auto& row) {
        return row.request == request.number && row.number == number;
    });
}

/// A field of a request that holds the number of a port or thing.
struct Carried {
    Field field;
    std::string_view identity; ///< That of the thing: "decStmNo"; kEngine; empty for a port.

    bool IsQueue() const { return identity == "queHandle"; }
    uint64_t Number() const { return std::get<uint64_t>(field.value); }
    Bytes With(Bytes data, uint64_t number) const
    {
        std::memcpy(data.data() + field.offset, &number, field.size);
        return data;
    }
};

/// Empty if it holds no number of a thing, or one that may mean something else.
std::string_view ThingIn(const Field& field)
{
    if (field.IsPayload() && field.path != "encNo" && field.path != "decNo")
        return "";
    if (field.path == kEngine)
        return kEngine;
    const Thing* thing = FindThing(field.IsPayload() ? IdentityOf(field.path) : field.path);
    return thing == nullptr ? "" : thing->number;
}

std::vector<Carried> NumbersIn(Trial& trial, const Request& request, const Bytes& example)
{
    std::vector<Carried> all;
    for (const Field& field : trial.Decoder().Decode({Direction::kRequest, request.number, example}).fields) {
        const std::string_view identity = ThingIn(field);
        if (!IsChosen(request, field.path) &&
            (!identity.empty() || (IsPort(field.path) && !field.IsPayload())))
            all.push_back({field, identity});
    }
    return all;
}

bool MayCarryNumbers(const Request& request)
{
    return request.number == VESK_VIDEO_MSG_SET_LOOP_MODE ||
           std::any_of(std::begin(request.arguments), std::end(request.arguments),
                       [](const messages::Argument& argument) {
                           return IsPort(argument.Name()) || argument.Name() == kEngine ||
                                  FindThing(argument.Name()) != nullptr;
                       });
}

/// What is tried in place of a number, and what it is.
using Wrong = std::vector<std::pair<uint64_t, std::string>>;

Wrong WrongNumbers(Trial& trial, Actor& client, const Carried& carried)
{
    Wrong all{{kNever, "has never been handed out"}};
    if (carried.field.size > sizeof(uint16_t) && !carried.IsQueue())
        all.emplace_back(carried.Number() + 0x10000, "is not that of a thing, though its low 16 bits are");
    // On a device, a number can be that of an encoder and that of another client's decoder.
    for (const char* other : {"inEngNo", "outEngNo", "encStmNo", "decStmNo"}) {
        if (trial.TheSurvey().isVirtual && carried.identity != other && carried.identity != kEngine)
            all.emplace_back(client.The(other), std::string("is an ") + other);
    }
    return all;
}

} // namespace

void UnknownNumber(Trial& trial)
{
    trial.EachRequest(MayCarryNumbers, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Bytes example = client.Example(request);
        for (const Carried& carried : NumbersIn(trial, request, example)) {
            for (const auto& [number, what] : WrongNumbers(trial, client, carried))
                trial.ExpectRefused(client.Send(request.number, carried.With(example, number)),
                                    carried.field.path + ' ' + std::to_string(number) + ' ' + what);
        }
    });
}

void FreedNumber(Trial& trial)
{
    // A queue of the queue library is there even when it is announced no more.
    const auto canBeFreed = [](const Request& request, std::string_view identity) {
        const Thing* thing = FindThing(identity);
        return thing != nullptr && !thing->destroy.empty() && !IsChosen(request, identity) &&
               (identity != "queHandle" || request.number == VESK_VIDEO_MSG_DESTROY_QUEUE);
    };
    const auto thingOf = [](std::string_view name) { return name == kEngine ? kEngineKinds[0] : name; };
    const auto concerns = [&](const Request& request) {
        return request.number == VESK_VIDEO_MSG_SET_LOOP_MODE ||
               std::any_of(std::begin(request.arguments), std::end(request.arguments),
                           [&](const messages::Argument& argument) {
                               return canBeFreed(request, thingOf(argument.Name()));
                           });
    };
    trial.EachRequest(concerns, [&](const Request& request) {
        size_t count = 1;
        for (size_t i = 0; i < count; ++i) {
            Actor& client = trial.NewClient();
            const Bytes example = client.Example(request);
            const std::vector<Carried> all = NumbersIn(trial, request, example);
            count = all.size();
            const std::string_view thing = thingOf(all.at(i).identity);
            if (canBeFreed(request, thing)) {
                client.Need(std::string(FindThing(thing)->destroy));
                trial.ExpectRefused(client.Send(request.number, example),
                                    all[i].field.path + ' ' + std::to_string(all[i].Number()) + " is gone");
            }
            trial.Leave(client);
        }
    });
}

void HandedOutOnce(Trial& trial)
{
    constexpr int kEach = 2;
    const Survey& survey = trial.TheSurvey();
    for (const Thing& thing : Things()) {
        const std::string name(thing.number);
        if (name == "queHandle" || name == "overlayChn") // which clients choose
            continue;
        trial.Case(name, [&] {
            Actor* clients[] = {&trial.NewClient(), &trial.NewClient()};
            std::set<uint64_t> numbers;
            const auto take = [&](Actor& client) {
                client.Forget(name);
                const uint64_t number = client.The(name);
                trial.Expect(numbers.insert(number).second, "a number that nothing else has",
                             name + ' ' + std::to_string(number) + " a second time");
            };
            if (thing.isShared) {
                const auto& [port, ports] = name == "inEngNo" ? std::pair("viPort", survey.inputs)
                                                              : std::pair("voPort", survey.outputs);
                for (size_t i = 0; i < ports.size(); ++i) {
                    clients[i % 2]->Set(port, ports[i]);
                    take(*clients[i % 2]);
                }
            } else {
                try {
                    for (int i = 0; i < 2 * kEach; ++i)
                        take(*clients[i % 2]);
                } catch (const NotTried&) { // there is no room for more
                    if (numbers.empty())
                        throw;
                }
            }
            if (numbers.size() < 2)
                trial.Skip("there is only one");
        });
    }
}

void OwnQueues(Trial& trial)
{
    Actor& client = trial.NewClient();
    std::map<uint64_t, std::string> owners;
    const auto take = [&](const std::string& line, const std::string& owner) {
        // An engine's queue comes with its first frames: the library asks for two seconds.
        Reply reply;
        Becomes(std::chrono::seconds(2), [&] {
            reply = client.Send(line);
            return !reply.IsRefused();
        });
        trial.ExpectOk(reply);
        const uint64_t queue = reply.Number("queHandle");
        const auto [known, isNew] = owners.emplace(queue, owner);
        trial.Expect(isNew, "a queue of its own for " + owner,
                     std::to_string(queue) + ", which is that of " + known->second);
        const uint64_t again = client.Need(line).Number("queHandle");
        trial.Expect(again == queue, "the same queue again, " + std::to_string(queue), std::to_string(again));
    };
    const Survey& survey = trial.TheSurvey();
    for (size_t i = 0; i < survey.pluggedInputs; ++i) {
        client.Forget("inEngNo");
        client.Set("viPort", survey.inputs[i]);
        client.Need("VI_START inEngNo=$inEngNo");
        take("GET_VI_QUE_HANDLE inEngNo=$inEngNo", "input " + std::to_string(survey.inputs[i]));
    }
    for (const char* overlay : {"1", "2"}) {
        const std::string channel = std::string(" overlayChn=") + overlay;
        if (client.Send("CREATE_OVERLAY_CHANNEL_PARAM value=1" + channel).IsOk())
            take("GET_OVERLAY_QUE_HANDLE" + channel, std::string("overlay ") + overlay);
    }
    if (owners.empty())
        trial.Skip("there is neither an input nor an overlay");
}

} // namespace vesk::ctl::check
