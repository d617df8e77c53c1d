// The group "load": order of answers, many clients, slow ones, and such as die.
#include "tools/veskctl/check/things.h"
#include "tools/veskctl/check/trial.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <set>

namespace vesk::ctl::check {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

/// How long the service may take for what it does by itself: it frees what a client had, it notifies.
constexpr milliseconds kInTime(5000);
/// A client that waits so long for an answer waits for another client, however slow the machine is.
constexpr float kMostMs = 3000;
constexpr size_t kGreatestPayload = VESK_VIDEO_MAX_MESSAGE_SIZE - sizeof(VeskVideoMsgHead);
constexpr size_t kManyClients = 64;

size_t Times(const Trial& trial, size_t usual, size_t quick)
{
    return trial.IsQuick() ? quick : usual;
}

float Median(std::vector<float> durations)
{
    const auto middle = durations.begin() + static_cast<std::ptrdiff_t>(durations.size() / 2);
    std::nth_element(durations.begin(), middle, durations.end());
    return durations.empty() ? 0 : *middle;
}

std::string Milliseconds(float duration)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f ms", static_cast<double>(duration));
    return text;
}

/// All have been answered with OK.
void ExpectAllOk(Trial& trial, const std::string& request, const std::vector<float>& durations)
{
    const auto failed = std::count_if(durations.begin(), durations.end(), [](float one) { return one < 0; });
    trial.Expect(failed == 0, "each of " + std::to_string(durations.size()) + ' ' + request + " to succeed",
                 std::to_string(failed) + " without an answer or refused");
}

/// How long the answers take that a client gets to a small request.
std::vector<float> Answers(Trial& trial, Actor& client, size_t count)
{
    const Prepared request = client.Encode("GET_VO_COUNT");
    client.BeginMany(request.number, request.data, count);
    std::vector<float> durations = client.FinishMany();
    ExpectAllOk(trial, "GET_VO_COUNT", durations);
    return durations;
}

/// The answers are not those of a service that waits for another client. The limits are far from what a
/// loaded machine does, and from what it takes to wait for a client that does not run.
void ExpectUnhurt(Trial& trial, const std::vector<float>& quiet, const std::vector<float>& now,
                  const std::string& meanwhile)
{
    const float usual = Median(quiet);
    const float mean = std::accumulate(now.begin(), now.end(), 0.0F) / static_cast<float>(now.size());
    const float longest = *std::max_element(now.begin(), now.end());
    trial.Expect(mean <= 50 * usual + 100 && longest <= kMostMs,
                 "answers to a client while another " + meanwhile + " as otherwise, which is in " +
                     Milliseconds(usual),
                 "answers in " + Milliseconds(mean) + " on average, one of them in " + Milliseconds(longest));
}

/// Sends it until it succeeds, as what another client had need not be free at once.
Reply ExpectFree(Trial& trial, Actor& client, const std::string& line)
{
    Reply reply;
    Becomes(kInTime, [&] {
        reply = client.Send(line);
        return !reply.IsRefused();
    });
    trial.Expect(reply.IsOk(), reply.request.Title() + " to succeed, as who had it has gone", reply.Text());
    return reply;
}

/// A request of so many bytes, which the device takes: no picture is frozen by it.
Prepared Large(Actor& client, size_t payload)
{
    Prepared request = client.Encode("ENCODER_FREEZE inEngNo=$inEngNo flag=0");
    request.data.resize(sizeof(VeskVideoMsgHead) + payload);
    client.BeginMany(request.number, request.data, 1);
    if (client.FinishMany()[0] < 0)
        throw NotTried{"the device does not take ENCODER_FREEZE with " + std::to_string(payload) + " bytes"};
    return request;
}

/// Begins large requests, more of them than are served while the other client is looked at.
void BeginLarge(Actor& client, size_t payload, size_t count)
{
    const Prepared request = Large(client, payload);
    client.BeginMany(request.number, request.data, count);
}

// Order

/// A client that sets a value and reads it again.
struct Setter {
    Actor& client;
    uint32_t value;

    std::string Set() const
    {
        return "SET_ENC_PARAM encStmNo=$encStmNo w=1280 h=720 fr=30 br=" + std::to_string(value);
    }
    void Begin(const std::string& line) const
    {
        const Prepared request = client.Encode(line);
        client.Begin(request.number, request.data);
    }
    void ExpectValue(Trial& trial, const Reply& reply) const
    {
        trial.ExpectOk(reply);
        trial.Expect(reply.Number("br") == value, "br=" + std::to_string(value) + ", which has just been set",
                     "br=" + std::to_string(reply.Number("br")));
    }
};

constexpr char kGet[] = "GET_ENC_PARAM encStmNo=$encStmNo";

void OwnAnswers(Trial& trial)
{
    Setter setters[] = {{trial.NewClient(), 1000}, {trial.NewClient(), 3000}};
    for (Setter& setter : setters)
        setter.client.The("encStmNo");
    for (size_t i = 0; i < Times(trial, 500, 100); ++i) {
        for (Setter& setter : setters) {
            ++setter.value;
            setter.Begin(setter.Set());
        }
        for (const Setter& setter : setters)
            trial.ExpectOk(setter.client.Finish());
        for (const Setter& setter : setters)
            setter.Begin(kGet);
        for (const Setter& setter : setters)
            setter.ExpectValue(trial, setter.client.Finish());
    }
}

/// A client gives up, and the late answer is nobody's.
void LateAnswers(Trial& trial)
{
    Actor& busy = trial.NewClient();
    Actor& hurried = trial.NewClient();
    busy.The("inEngNo");
    hurried.Set("inEngNo", busy.The("inEngNo"));
    Setter setters[] = {{hurried, 1000}, {trial.NewClient(), 3000}};
    for (Setter& setter : setters)
        setter.client.The("encStmNo");
    const Prepared large = Large(hurried, kGreatestPayload / 16);
    BeginLarge(busy, kGreatestPayload, Times(trial, 100, 8));
    for (size_t i = 0; i < Times(trial, 100, 10); ++i) {
        for (Setter& setter : setters) {
            ++setter.value;
            trial.ExpectOk(setter.client.Send(setter.Set()));
        }
        hurried.BeginMany(large.number, large.data, 1, 1);
        hurried.FinishMany(); // whether it was in time does not matter
        for (const Setter& setter : setters)
            setter.ExpectValue(trial, setter.client.Send(kGet));
    }
    ExpectAllOk(trial, "ENCODER_FREEZE", busy.FinishMany());
}

void AsynchronousFirst(Trial& trial)
{
    Actor& client = trial.NewClient();
    for (size_t i = 0; i < 100; ++i) {
        client.Send("INIT_UVC");
        trial.ExpectOk(client.Send("OPEN_UVC_PORT"));
        client.Send("DEINIT_UVC");
    }
}

// Slow clients

/// What a held-up client is told: a picture that another client starts and stops appears on its display.
class Shown {
public:
    explicit Shown(Trial& trial) : trial_(trial), owner_(trial.NewClient()), source_(trial.NewClient())
    {
        owner_.Set("inEngNo", source_.The("inEngNo"));
        owner_.Need(
            "SET_VO_SRC outEngNo=$outEngNo picNum=1 subPic[0].inputId=$inEngNo subPic[0].winHandle=1");
        owner_.Need("VO_START outEngNo=$outEngNo");
    }

    Actor& Owner() const { return owner_; }

    /// How long the answers take.
    std::vector<float> Toggle(size_t times) const
    {
        std::vector<float> durations;
        for (size_t i = 0; i < times; ++i) {
            for (const char* line : {"VI_START inEngNo=$inEngNo", "VI_STOP inEngNo=$inEngNo"}) {
                const Reply reply = source_.Send(line);
                trial_.ExpectOk(reply);
                durations.push_back(static_cast<float>(reply.outcome.duration.count()));
            }
        }
        return durations;
    }

    /// Takes the notifications of so many times, in their order. False if one does not come.
    bool AwaitAll(size_t times) const
    {
        const auto isShown = [](const Notified& one) {
            return one.Number() == VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY ||
                   one.Number() == VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY;
        };
        for (size_t i = 0; i < 2 * times; ++i) {
            const std::optional<Notified> one = owner_.Await(isShown, kInTime);
            if (!one || (one->Number() == VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY) != (i % 2 == 0))
                return false;
        }
        return true;
    }

private:
    Trial& trial_;
    Actor& owner_;
    Actor& source_;
};

void HeldUpReceiver(Trial& trial)
{
    if (!trial.TheProfile().Sends(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY) ||
        !trial.TheProfile().Sends(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY))
        trial.Skip("the device does not notify that pictures appear");
    constexpr size_t kFew = 20;
    const Shown shown(trial);
    const std::vector<float> quiet = shown.Toggle(kFew);
    if (!shown.AwaitAll(kFew))
        trial.Skip("the owner of a display is not notified when pictures appear on it");
    for (const size_t times : {kFew, Times(trial, 2000, 300)}) {
        shown.Owner().Pause();
        const std::vector<float> now = shown.Toggle(times);
        shown.Owner().Resume();
        ExpectUnhurt(trial, quiet, now, "does not read its notifications");
        Answers(trial, shown.Owner(), 1);
        if (times == kFew)
            trial.Expect(shown.AwaitAll(kFew), "a client that goes on to get what it was sent, in order",
                         "one that is missing, or another order");
    }
    shown.Owner().TakeAll(200ms); // some may have been lost
    shown.Toggle(1);
    trial.Expect(shown.AwaitAll(1), "a client that goes on to be notified again", "no notifications");
}

void HeldUpSender(Trial& trial)
{
    Actor& slow = trial.NewClient();
    Actor& other = trial.NewClient();
    slow.The("inEngNo");
    const std::vector<float> quiet = Answers(trial, other, 100);
    for (size_t i = 0; i < Times(trial, 40, 5); ++i) {
        BeginLarge(slow, kGreatestPayload >> (i % 5), 4);
        Answers(trial, other, 1 + 3 * i % 20); // so that it is held up now here, now there
        slow.Pause();
        const std::vector<float> now = Answers(trial, other, 20);
        slow.Resume();
        ExpectUnhurt(trial, quiet, now, "is held up within a request");
        ExpectAllOk(trial, "ENCODER_FREEZE", slow.FinishMany());
    }
}

void KilledSender(Trial& trial)
{
    Actor& other = trial.NewClient();
    const std::vector<float> quiet = Answers(trial, other, 100);
    for (size_t i = 0; i < Times(trial, 60, 5); ++i) {
        Actor& client = trial.NewClient();
        client.Set("inEngNo", ExpectFree(trial, client, "OPEN_VI_PORT viPort=$viPort").Number("inEngNo"));
        ExpectFree(trial, client, "OPEN_VO_PORT voPort=$voPort");
        BeginLarge(client, kGreatestPayload >> (i % 5), 1000);
        Answers(trial, other, 1 + 3 * i % 20);
        client.Kill();
        ExpectUnhurt(trial, quiet, Answers(trial, other, 20), "dies within a request");
        trial.Leave(client);
    }
    ExpectFree(trial, other, "OPEN_VI_PORT viPort=$viPort");
    ExpectFree(trial, other, "OPEN_VO_PORT voPort=$voPort");
}

// Many requests

void Floods(Trial& trial)
{
    struct Flood {
        const char* line;
        size_t payload;
        size_t usual;
        size_t quick;
    };
    constexpr Flood kFloods[] = {
        {"SET_VI_PARAM inEngNo=$inEngNo", sizeof(VeskVideoViPortParam), 50000, 3000},
        {"SET_CAMERA_QUEUE_ID inEngNo=$inEngNo queHandle=0", 0, 50000, 3000},
        {"ENCODER_FREEZE inEngNo=$inEngNo flag=0", kGreatestPayload, 200, 5},
    };
    Actor& other = trial.NewClient();
    const std::vector<float> quiet = Answers(trial, other, 100);
    const uint64_t engine = trial.NewClient().The("inEngNo");
    std::vector<Actor*> clients;
    for (const Flood& flood : kFloods) {
        Actor& client = *clients.emplace_back(&trial.NewClient());
        client.Set("inEngNo", engine);
        Prepared request = client.Encode(flood.line);
        request.data.resize(sizeof(VeskVideoMsgHead) + flood.payload);
        client.BeginMany(request.number, request.data, Times(trial, flood.usual, flood.quick));
    }
    ExpectUnhurt(trial, quiet, Answers(trial, other, Times(trial, 500, 100)), "sends all that it can");
    for (Actor* client : clients) {
        client->FinishMany(); // a client that sends faster than the service reads is told by the platform
        Answers(trial, *client, 1);
    }
}

void LargePayloads(Trial& trial)
{
    Actor& client = trial.NewClient();
    Actor& other = trial.NewClient();
    client.The("inEngNo");
    for (const size_t size : {size_t{0}, size_t{1}, size_t{1000}, size_t{65535}, size_t{65536},
                              size_t{1000001}, kGreatestPayload - 1, kGreatestPayload}) {
        BeginLarge(client, size, 2);
        Answers(trial, other, 5);
        ExpectAllOk(trial, "ENCODER_FREEZE of " + std::to_string(size) + " bytes", client.FinishMany());
    }
}

void NoGrowth(Trial& trial)
{
    Actor& client = trial.NewClient();
    client.The("encStmNo");
    for (const char* line : {"GET_VO_COUNT", "SET_ENC_PARAM encStmNo=$encStmNo w=1280 h=720 fr=30 br=2000"}) {
        const Prepared request = client.Encode(line);
        client.BeginMany(request.number, request.data, Times(trial, 50000, 2500));
        const std::vector<float> durations = client.FinishMany();
        ExpectAllOk(trial, line, durations);
        const auto tenth = static_cast<std::ptrdiff_t>(durations.size() / 10);
        const float first = Median({durations.begin(), durations.begin() + tenth});
        const float last = Median({durations.end() - tenth, durations.end()});
        trial.Expect(last <= 10 * first + 5,
                     "the last answers as soon as the first, in " + Milliseconds(first),
                     "answers in " + Milliseconds(last));
    }
}

// Many clients

/// Creates one of each that there still is, and notes whose numbers have been handed out already.
void ManyAtOnce(Trial& trial)
{
    constexpr std::string_view kKinds[] = {"encStmNo", "decStmNo", "mouseStmNo", "localMouseStmNo"};
    const auto create = [](std::string_view kind) { return std::string(FindThing(kind)->create); };
    std::map<std::string_view, std::set<uint64_t>> numbers;
    std::map<Actor*, uint64_t> decoders;
    {
        std::vector<Actor*> clients;
        for (size_t i = 0; i < kManyClients; ++i)
            clients.push_back(&trial.NewClient());
        for (Actor* client : clients) {
            for (const std::string_view kind : kKinds) {
                const Reply reply = client->Send(create(kind));
                if (reply.IsRefused())
                    continue; // there is no more room
                trial.ExpectOk(reply);
                const uint64_t number = reply.Number(kind);
                client->Set(std::string(kind), number);
                if (kind == "decStmNo")
                    decoders[client] = number;
                trial.Expect(numbers[kind].insert(number).second,
                             std::string(kind) + " to be a number that no other client has",
                             std::to_string(number) + " once more");
            }
        }
        for (const auto& [client, number] : decoders) {
            const std::string set = "SET_DEC_PARAM decStmNo=$decStmNo w=1280 h=720";
            for (const std::string& line : {set, std::string("DEC_START decStmNo=$decStmNo"), set})
                trial.ExpectOk(client->Send(line));
        }
        for (Actor* client : clients)
            Answers(trial, *client, 10);
        for (Actor* client : clients) {
            for (const Notified& one : client->TakeAll(0ms)) {
                const auto decoder = one.Field("decStmNo");
                const auto own = decoders.find(client);
                trial.Expect(one.Number() != VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY ||
                                 (own != decoders.end() && decoder == own->second),
                             "a client to be notified of its own decoder only",
                             "a notification of " + std::to_string(decoder.value_or(0)));
            }
        }
        for (Actor* client : clients)
            trial.Leave(*client);
    }
    Actor& next = trial.NewClient();
    for (const std::string_view kind : kKinds) {
        for (size_t i = 0; i < numbers[kind].size(); ++i)
            ExpectFree(trial, next, create(kind));
    }
}

void ManyInTurn(Trial& trial)
{
    for (size_t i = 0; i < Times(trial, kManyClients, 20); ++i) {
        Actor& client = trial.NewClient();
        ExpectFree(trial, client, "OPEN_VI_PORT viPort=$viPort");
        ExpectFree(trial, client, "OPEN_VO_PORT voPort=$voPort");
        trial.Leave(client);
    }
}

/// One of the clients closes while all others open: at no time two of them have it.
void Contended(Trial& trial, const std::string& number)
{
    const Thing& thing = *FindThing(number);
    std::vector<Actor*> clients;
    for (size_t i = 0; i < 6; ++i)
        clients.push_back(&trial.NewClient());
    const Actor* holder = nullptr;
    for (size_t i = 0; i < Times(trial, 200, 30); ++i) {
        const bool isClosing = holder != nullptr && i % 2 == 1;
        for (Actor* client : clients) {
            const Prepared request =
                client->Encode(std::string(client == holder && isClosing ? thing.destroy : thing.create));
            client->Begin(request.number, request.data);
        }
        std::vector<std::pair<Actor*, Reply>> replies;
        replies.reserve(clients.size());
        for (Actor* client : clients)
            replies.emplace_back(client, client->Finish());
        Actor* winner = nullptr;
        size_t winners = 0;
        for (const auto& [client, reply] : replies) {
            trial.Expect(reply.outcome.platformResult == 0, "an answer", reply.Text());
            if (client == holder && isClosing) {
                trial.ExpectOk(reply);
            } else if (reply.IsOk()) {
                ++winners;
                winner = client;
                client->Set(number, reply.Number(number));
            }
        }
        const size_t most = holder == nullptr || isClosing ? 1 : 0;
        const size_t least = holder == nullptr ? 1 : 0;
        trial.Expect(winners >= least && winners <= most,
                     std::to_string(most) + " of all clients to open the port",
                     std::to_string(winners) + " of them");
        holder = isClosing || holder == nullptr ? winner : holder;
    }
}

/// Each request, sent when it succeeds and, if something must come before it, when it is too early.
void NoneHoldsUp(Trial& trial)
{
    trial.EachRequest(AnyRequest, [&](const messages::Request& request) {
        Actor& other = trial.NewClient();
        const std::vector<float> quiet = Answers(trial, other, 5);
        for (const Actor::Needs needs : {Actor::Needs::kAllButLast, Actor::Needs::kAll}) {
            Actor& client = trial.NewClient();
            client.Begin(request.number, client.Example(request, needs));
            std::vector<float> now;
            do { // the request need not have arrived before the first of these
                const std::vector<float> some = Answers(trial, other, 5);
                now.insert(now.end(), some.begin(), some.end());
            } while (!client.HasAnswered());
            const Reply reply = client.Finish();
            ExpectUnhurt(trial, quiet, now, "sends " + reply.request.Title());
            trial.Leave(client);
        }
    });
}

constexpr Test kTests[] = {
    {"load.own-answers", "two clients set values and read them again, hundreds of times",
     "an answer that is another request's is taken for one's own", OwnAnswers},
    {"load.late-answers", "a client gives up waiting; what it asks for next is answered as usual",
     "the late answer must not be taken for that of the next request", LateAnswers},
    {"load.asynchronous-first", "what a client asks for after INIT_UVC finds it done, a hundred times",
     "an application cannot wait for the end of a request that has no answer", AsynchronousFirst},
    {"load.held-up-receiver", "others are answered while a client does not read its notifications",
     "an application that is busy, or stopped in a debugger, must not hold up the device", HeldUpReceiver,
     kNoticed},
    {"load.held-up-sender", "others are answered while a client is held up within a large request",
     "an application that does not get to run must not hold up the device", HeldUpSender},
    {"load.killed-sender", "clients die while they send; others are answered, and what these had is free",
     "applications crash, and the next one needs the ports", KilledSender},
    {"load.floods", "a client is answered while three others send all that they can",
     "an application that runs wild must not lock out the others", Floods},
    {"load.large-payloads", "payloads up to the greatest are taken, and small requests beside them answered",
     "the interface sets no limit but the platform's, 4 MiB with the header", LargePayloads},
    {"load.none-holds-up", "no request, be it refused or not, holds up another client",
     "an application must not notice what others do", NoneHoldsUp, kNoticed | kLong},
    {"load.no-growth", "the last of many thousand requests is answered as soon as the first",
     "a device runs for months", NoGrowth},
    {"load.many-clients", "64 clients at once: numbers differ, notifications are their own, all becomes free",
     "an application must not get into another's things", ManyAtOnce},
    {"load.many-in-turn", "clients come, open the ports and leave, one after another",
     "an application is started more than once", ManyInTurn},
    {"load.contended-port", "six clients open and close a port at the same time: one at most has it",
     "two applications that both drive a port disturb each other",
     [](Trial& trial) {
         for (const char* number : {"inEngNo", "outEngNo"})
             trial.Case(number, [&] { Contended(trial, number); });
     }},
};

} // namespace

std::span<const Test> LoadTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
