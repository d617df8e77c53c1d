// The group "life": what becomes of the things of a client that exits, ends or is killed.
#include "tools/veskctl/check/life.h"

#include <algorithm>

namespace vesk::ctl::check {

namespace {

/// For how long the service may notice that a client has ended. It usually does at once.
constexpr std::chrono::seconds kNoticing(10);

enum class Ending { kExits, kEnds, kKilled };

void End(Actor& client, Ending ending)
{
    switch (ending) {
    case Ending::kExits: // and its process goes on
        client.Send("EXIT");
        break;
    case Ending::kEnds:
        client.End();
        break;
    case Ending::kKilled:
        client.Kill();
        break;
    }
}

/// A client must be able to create so many, as others have ended that had them.
void ExpectFree(Trial& trial, Actor& client, const Thing& thing, size_t count)
{
    size_t created = 0;
    std::string refusal;
    Becomes(trial.Patience(kNoticing), [&] {
        while (created < count) {
            const Reply reply = client.TryCreate(thing);
            refusal = reply.Text();
            if (!reply.IsOk())
                return false;
            ++created;
        }
        return true;
    });
    trial.Expect(created == count,
                 "another client to get what the one that has ended had (" + std::to_string(count) + ")",
                 created == 0 ? refusal : std::to_string(created) + ", then " + refusal);
}

/// Queues are numbered by the queue library, and there is no end of them.
bool IsLimited(const Thing& thing)
{
    return thing.number != "queHandle";
}

bool IsLimitedAndClosable(const Thing& thing)
{
    return IsLimited(thing) && !thing.destroy.empty();
}

/// One client has all things of a kind, the last of them started, and ends.
void Frees(Trial& trial, Ending ending)
{
    EachThing(trial, IsLimited, [&](const Thing& thing, Actor& owner) {
        const size_t count = FillUp(owner, thing).size();
        if (count == 0)
            trial.Skip("none can be created");
        if (CanStart(trial, thing))
            Start(owner, thing);
        Actor& other = trial.NewClient();
        End(owner, ending);
        ExpectFree(trial, other, thing, count);
    });
}

void QueuesEnd(Trial& trial, Ending ending)
{
    const Thing& queue = *FindThing("queHandle");
    Actor& owner = trial.NewClient();
    // A queue that is still announced is not any more once it has been asked for: so there are several.
    std::vector<uint64_t> queues = FillUp(owner, queue, 12);
    if (queues.empty())
        trial.Skip("none can be announced");
    Actor& other = trial.NewClient();
    End(owner, ending);
    const bool isGone = Becomes(trial.Patience(kNoticing), [&] {
        other.Set("queHandle", queues.back());
        queues.pop_back();
        return queues.empty() || other.Send(std::string(queue.destroy)).IsRefused();
    });
    trial.Advise(isGone && !queues.empty(), "the queues of a client that has ended to be announced no more",
                 "another client could withdraw each of them");
}

constexpr Ending kEndings[] = {Ending::kExits, Ending::kEnds, Ending::kKilled};

const char* NameOf(Ending ending)
{
    return ending == Ending::kExits ? "exits" : ending == Ending::kEnds ? "ends" : "is killed";
}

void Queues(Trial& trial)
{
    for (const Ending ending : kEndings)
        trial.Case(std::string("its client ") + NameOf(ending), [&] { QueuesEnd(trial, ending); });
}

/// The port, or number of its choice, that a client takes besides that of another, if there is one.
bool ChooseAnother(const Trial& trial, Actor& client, const Thing& thing)
{
    const auto choose = [&](const char* variable, const std::vector<uint32_t>& ports) {
        if (ports.size() > 1)
            client.Set(variable, ports[1]);
        return ports.size() > 1;
    };
    if (thing.number == "inEngNo")
        return choose("viPort", trial.TheSurvey().inputs);
    if (thing.number == "outEngNo")
        return choose("voPort", trial.TheSurvey().outputs);
    client.Set("newOverlay", 2);
    return true;
}

/// A client has one thing of a kind, while another that has one as well ends.
void OthersStay(Trial& trial)
{
    EachThing(trial, IsLimitedAndClosable, [&](const Thing& thing, Actor& client) {
        if (!ChooseAnother(trial, client, thing))
            trial.Skip("there is only one port");
        Configure(client, thing);
        const bool isStarted = !thing.start.empty() && client.Send(std::string(thing.start)).IsOk();
        for (const Ending ending : kEndings) {
            Actor& other = trial.NewClient();
            const size_t count = FillUp(other, thing).size();
            Actor& next = trial.NewClient();
            End(other, ending);
            ExpectFree(trial, next, thing, count); // by then the service has noticed
            trial.Leave(next);
        }
        if (isStarted)
            trial.ExpectOk(client.Send(std::string(thing.stop)));
        trial.ExpectOk(client.Send(std::string(thing.destroy)));
    });
}

/// Clients are killed while they create as much as they can.
void KilledAtWork(Trial& trial)
{
    constexpr int kRounds = 4;
    EachThing(trial, IsLimitedAndClosable, [&](const Thing& thing, Actor& client) {
        const std::vector<uint64_t> all = FillUp(client, thing);
        for (const uint64_t number : all)
            Destroy(trial, client, thing, number);
        for (int round = 0; round < kRounds; ++round) {
            std::vector<std::string> lines = LinesOf(thing.create);
            const std::string last = lines.back();
            lines.pop_back();
            std::vector<Actor*> workers;
            for (int i = 0; i < 3; ++i) {
                Actor& worker = *workers.emplace_back(&trial.NewClient());
                for (const std::string& line : lines)
                    worker.Need(line);
                const Prepared request = worker.Encode(last);
                worker.BeginMany(request.number, request.data, 10000);
            }
            for (int i = 0; i <= round; ++i) // they get on by so much
                trial.ExpectOk(client.Send("GET_VI_COUNT"));
            for (Actor* worker : workers)
                worker->Kill();
            Actor& next = trial.NewClient();
            ExpectFree(trial, next, thing, all.size());
            trial.Leave(next);
        }
    });
}

constexpr Test kTests[] = {
    {"life.exit", "what belongs to a client that sends EXIT is free again",
     "an application exits without closing everything one by one",
     [](Trial& trial) { Frees(trial, Ending::kExits); }, kNoticed},
    {"life.end", "what belongs to a client whose process ends without EXIT is free again",
     "an application that crashes cannot close anything", [](Trial& trial) { Frees(trial, Ending::kEnds); },
     kNoticed},
    {"life.kill", "what belongs to a client that is killed is free again",
     "an application that is killed cannot close anything",
     [](Trial& trial) { Frees(trial, Ending::kKilled); }, kNoticed},
    {"life.queues-end", "the queues of a client that has ended are announced no more",
     "the memory of the queues has ended with the client", Queues},
    {"life.others-stay", "what a client has stays as it is when another that has the like ends",
     "applications do not know of each other", OthersStay, kNoticed},
    {"life.kill-at-work", "clients that are killed with requests under way leave nothing behind",
     "an application can crash at any moment", KilledAtWork, kLong},
};

} // namespace

std::span<const Test> OwnershipTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
