// The group "life": what is opened, started, stopped and closed, and when.
#include "tools/veskctl/check/life.h"

#include "decoder/names.h"

#include <algorithm>

namespace vesk::ctl::check {

using messages::Request;

namespace {

bool HasAll(const Profile& profile, const Thing& thing)
{
    for (const std::string_view lines :
         {thing.create, thing.destroy, thing.configure, thing.start, thing.stop}) {
        for (const std::string& line : LinesOf(lines)) {
            if (!profile.Has(decoder::RequestNamed(line.substr(0, line.find(' '))).number))
                return false;
        }
    }
    return true;
}

} // namespace

bool CanStart(const Trial& trial, const Thing& thing)
{
    const Survey& survey = trial.TheSurvey();
    return !thing.start.empty() && (thing.number != "inEngNo" || survey.pluggedInputs != 0) &&
           (thing.number != "outEngNo" || survey.pluggedOutputs != 0);
}

void EachThing(Trial& trial, const std::function<bool(const Thing&)>& concerns,
               const std::function<void(const Thing&, Actor&)>& body)
{
    for (const Thing& thing : Things()) {
        if (concerns(thing) && HasAll(trial.TheProfile(), thing))
            trial.Case(thing.title, [&] { body(thing, trial.NewClient()); });
    }
}

void Configure(Actor& client, const Thing& thing)
{
    client.The(std::string(thing.number));
    for (const std::string& line : LinesOf(thing.configure))
        client.Need(line);
}

void Start(Actor& client, const Thing& thing)
{
    Configure(client, thing);
    client.Need(std::string(thing.start));
}

std::vector<uint64_t> FillUp(Actor& client, const Thing& thing, size_t most)
{
    std::vector<uint64_t> numbers;
    while (numbers.size() < most && client.TryCreate(thing).IsOk())
        numbers.push_back(client.The(std::string(thing.number)));
    return numbers;
}

void Destroy(Trial& trial, Actor& client, const Thing& thing, uint64_t number)
{
    client.Set(std::string(thing.number), number);
    trial.ExpectOk(client.Send(std::string(thing.destroy)));
}

namespace {

bool IsClosable(const Thing& thing)
{
    return !thing.destroy.empty();
}

/// A case for each kind of thing that can be started, with a client that has started one.
void EachStarted(Trial& trial, const std::function<void(const Thing&, Actor&)>& body)
{
    EachThing(
        trial, [&](const Thing& thing) { return CanStart(trial, thing); },
        [&](const Thing& thing, Actor& client) {
            Start(client, thing);
            body(thing, client);
        });
}

void TooEarly(Trial& trial)
{
    const auto needsAnother = [](const Request& request) {
        const Example example = ExampleOf(request);
        if (example.needs.empty() || example.mayBeRefused)
            return false;
        return !LinesOf(example.needs).back().starts_with("GET_"); // which the suite alone needs
    };
    trial.EachRequest(needsAnother, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const std::string needed = LinesOf(ExampleOf(request).needs).back();
        trial.ExpectRefused(client.Send(request.number, client.Example(request, Actor::Needs::kAllButLast)),
                            needed.substr(0, needed.find(' ')) + " has to come before it");
    });
}

void OpenTwice(Trial& trial)
{
    const auto isShared = [](const Thing& thing) { return thing.isShared; };
    EachThing(trial, isShared, [&](const Thing& thing, Actor& owner) {
        const uint64_t number = owner.The(std::string(thing.number));
        trial.ExpectRefused(owner.TryCreate(thing), "this client has it already");
        Actor& other = trial.NewClient();
        trial.ExpectRefused(other.TryCreate(thing), "another client has it");
        Destroy(trial, owner, thing, number);
        trial.ExpectOk(other.TryCreate(thing));
    });
}

void StartTwice(Trial& trial)
{
    EachStarted(trial, [&](const Thing& thing, Actor& client) {
        trial.ExpectRefused(client.Send(std::string(thing.start)), "it is started already");
        trial.ExpectOk(client.Send(std::string(thing.stop)));
    });
}

void StopTwice(Trial& trial)
{
    EachStarted(trial, [&](const Thing& thing, Actor& client) {
        trial.ExpectOk(client.Send(std::string(thing.stop)));
        trial.ExpectRefused(client.Send(std::string(thing.stop)), "it is stopped already");
        trial.ExpectOk(client.Send(std::string(thing.start)));
    });
}

void AfterClose(Trial& trial)
{
    EachThing(trial, IsClosable, [&](const Thing& thing, Actor& client) {
        Configure(client, thing);
        if (CanStart(trial, thing)) {
            client.Need(std::string(thing.start));
            client.Need(std::string(thing.stop));
        }
        trial.ExpectOk(client.Send(std::string(thing.destroy)));
        for (const std::string_view line : {thing.configure, thing.start, thing.stop, thing.destroy}) {
            if (!line.empty())
                trial.ExpectRefused(client.Send(std::string(line)),
                                    std::string("the ") + thing.title + " is closed");
        }
    });
}

void DeinitUvc(Trial& trial)
{
    const Thing& stream = *FindThing("uvcStmNo");
    Actor& client = trial.NewClient();
    Start(client, stream);
    client.Send("DEINIT_UVC");
    trial.ExpectRefused(client.Send(std::string(stream.stop)), "DEINIT_UVC has closed the stream");
    trial.ExpectRefused(client.Send("OPEN_UVC_PORT"), "INIT_UVC has to come before it");
    client.Forget("uvcStmNo");
    trial.ExpectOk(client.TryCreate(stream));
}

/// How many channels the device says that there can be at once; nothing of other things.
std::optional<uint64_t> Promised(Actor& client, const Thing& thing)
{
    const char* request = thing.number == "encStmNo"   ? "GET_ENCODE_CAPABILITY"
                          : thing.number == "decStmNo" ? "GET_DECODE_CAPABILITY"
                                                       : nullptr;
    return request == nullptr ? std::nullopt : std::optional(client.Need(request).Number("maxChannel"));
}

void AsMany(Trial& trial)
{
    constexpr uint64_t kMost = 1024;
    EachThing(trial, IsClosable, [&](const Thing& thing, Actor& client) {
        const std::optional<uint64_t> promised = Promised(client, thing);
        const auto fillUp = [&](uint64_t expected, const std::string& why) {
            const std::vector<uint64_t> numbers =
                FillUp(client, thing, promised ? std::min(*promised, kMost) : 32);
            trial.Expect(numbers.size() >= expected,
                         std::to_string(expected) + " of this kind at the same time, as " + why,
                         std::to_string(numbers.size()));
            for (const uint64_t number : numbers)
                Destroy(trial, client, thing, number);
            return numbers.size();
        };
        const size_t first =
            fillUp(std::min(promised.value_or(0), kMost), "the capability says; nobody else may have any");
        fillUp(first, "before");
    });
}

void Rounds(Trial& trial)
{
    const int rounds = trial.IsQuick() ? 10 : 200;
    EachThing(trial, IsClosable, [&](const Thing& thing, Actor& client) {
        if (thing.number == "queHandle")
            client.Set("newQueue", client.The("newQueue")); // the same each time
        const bool canStart = CanStart(trial, thing);
        for (int round = 1; round <= rounds; ++round) {
            const auto expectOk = [&](const Reply& reply) {
                trial.Expect(reply.IsOk(),
                             reply.request.Title() + " to succeed in round " + std::to_string(round),
                             reply.Text());
            };
            expectOk(client.TryCreate(thing));
            for (const std::string& line : LinesOf(thing.configure))
                expectOk(client.Send(line));
            const std::string destroy(thing.destroy);
            if (canStart) {
                expectOk(client.Send(std::string(thing.start)));
                if (round % 2 == 0 && client.Send(destroy).IsOk())
                    continue; // a service may let go what is started
                expectOk(client.Send(std::string(thing.stop)));
            }
            expectOk(client.Send(destroy));
        }
    });
}

/// The requests of one direction's ports.
struct Direction {
    std::string_view number; ///< Of the thing.
    const char* disable;
    const char* enable;
};

constexpr Direction kDirections[] = {
    {"inEngNo", "VI_DISABLE viPort=$viPort", "VI_ENABLE viPort=$viPort"},
    {"outEngNo", "VO_DISABLE voPort=$voPort", "VO_ENABLE voPort=$voPort"},
};

void EachDirection(Trial& trial, const std::function<bool(const Thing&)>& concerns,
                   const std::function<void(const Direction&, const Thing&, Actor&)>& body)
{
    for (const Direction& direction : kDirections) {
        EachThing(
            trial, [&](const Thing& thing) { return thing.number == direction.number && concerns(thing); },
            [&](const Thing& thing, Actor& client) { body(direction, thing, client); });
    }
}

void DisabledPort(Trial& trial)
{
    const auto any = [](const Thing&) { return true; };
    EachDirection(trial, any, [&](const Direction& direction, const Thing& engine, Actor& client) {
        client.Need(direction.disable);
        trial.ExpectRefused(client.TryCreate(engine), "its port is disabled");
        trial.ExpectOk(client.Send(direction.enable));
        trial.ExpectOk(client.TryCreate(engine));
    });
}

void DisabledEngine(Trial& trial)
{
    const auto canStart = [&](const Thing& thing) { return CanStart(trial, thing); };
    EachDirection(trial, canStart, [&](const Direction& direction, const Thing& engine, Actor& client) {
        Configure(client, engine);
        client.Need(direction.disable);
        trial.ExpectRefused(client.Send(std::string(engine.start)), "its port is disabled");
        trial.ExpectOk(client.Send(direction.enable));
        trial.ExpectOk(client.Send(std::string(engine.start)));
        trial.ExpectOk(client.Send(direction.disable));
        trial.ExpectOk(client.Send(direction.enable));
        const Reply stopped = client.Send(std::string(engine.stop));
        trial.Advise(stopped.IsRefused(),
                     stopped.request.Title() + " to be refused, as the port was disabled, which stops it",
                     stopped.Text());
        trial.ExpectOk(client.Send(std::string(engine.start)));
        trial.ExpectOk(client.Send(std::string(engine.stop)));
        trial.ExpectOk(client.Send(std::string(engine.destroy)));
    });
}

constexpr Test kTests[] = {
    {"life.too-early", "each request that another has to precede is refused without that",
     "an application that goes wrong must hear of it, and the service has nothing to do it with", TooEarly},
    {"life.open-twice", "a port or a number that some client has is refused to all, until it is closed",
     "two owners of one port would work against each other", OpenTwice},
    {"life.start-twice", "what is started is not started again",
     "a start that succeeds tells its caller that the thing was not running before", StartTwice, kNoticed},
    {"life.stop-twice", "what is stopped is not stopped again, but can be started",
     "a stop that succeeds tells its caller that the thing was running before", StopTwice, kNoticed},
    {"life.after-close", "what is closed is neither set, started, stopped nor closed again",
     "its number may belong to another by then", AfterClose, kNoticed},
    {"life.deinit-uvc", "DEINIT_UVC closes the client's streams, and INIT_UVC begins anew",
     "an application that deinitialises leaves closing to it", DeinitUvc},
    {"life.as-many", "as many things as the device says can exist at once, and as many again once closed",
     "an application plans with what the device says that it can do", AsMany},
    {"life.rounds", "things are created, started, stopped and closed again many times",
     "a device runs for months, and whatever stays behind adds up", Rounds, kNoticed},
    {"life.disabled-port", "a disabled port is not opened until it is enabled",
     "whoever disables a port counts on it that nobody uses it", DisabledPort, kNoticed},
    {"life.disabled-engine",
     "an engine whose port is disabled is stopped, and can be started once it is enabled",
     "whoever disables a port counts on it that nobody uses it", DisabledEngine, kNoticed},
};

} // namespace

std::span<const Test> LifeTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
