// The group "notifications": what the service tells its clients, and when.
#include "tools/veskctl/check/caused.h"
#include "tools/veskctl/check/told.h"
#include "vesk_service/control.h"

#include <set>

namespace vesk::ctl::check {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kQuiet = 300ms;

/// All ports of one direction are told, each once and its state before its format.
void ExpectPorts(Trial& trial, const std::vector<Notified>& told, const PortKind& kind, size_t count)
{
    if (!trial.TheProfile().Sends(kind.state))
        return;
    std::set<uint64_t> states;
    std::set<uint64_t> plugged;
    std::set<uint64_t> formats;
    for (const Notified& one : told) {
        const std::string port = "port " + std::to_string(one.Field("port").value_or(0));
        const uint64_t number = one.Field("port").value_or(0);
        if (one.Number() == kind.state) {
            trial.Expect(states.insert(number).second, NameOf(kind.state) + " once for " + port,
                         "a second one");
            if (one.Field("val").value_or(0) != 0)
                plugged.insert(number);
        } else if (one.Number() == kind.format) {
            trial.Expect(states.contains(number),
                         NameOf(kind.format) + " after " + NameOf(kind.state) + " of " + port, "it before");
            trial.Expect(formats.insert(number).second, NameOf(kind.format) + " once for " + port,
                         "a second one");
        }
    }
    trial.Expect(states.size() == count,
                 NameOf(kind.state) + " for each of the " + std::to_string(count) + " ports that " +
                     kind.counted + " tells of",
                 "for " + std::to_string(states.size()));
    if (trial.TheProfile().Sends(kind.format))
        trial.Expect(formats == plugged,
                     NameOf(kind.format) + " for each port that is plugged in, and no other",
                     "for " + std::to_string(formats.size()) + " ports, where " +
                         std::to_string(plugged.size()) + " are plugged in");
}

/// All that a client is told that announces itself now.
std::vector<Notified> ToldAfterInit(Actor& client, const PortCounts& counts)
{
    client.Announce();
    std::vector<Notified> told = TakePorts(client, counts);
    const std::vector<Notified> more = client.TakeAll(kQuiet);
    told.insert(told.end(), more.begin(), more.end());
    return told;
}

void AfterInit(Trial& trial)
{
    const PortCounts counts = CountPorts(trial);
    Actor& watcher = AnnouncedClient(trial, counts);
    Actor& client = trial.NewProcess();
    for (int i = 0; i < 2; ++i) { // an application may begin again, with another callback
        const std::vector<Notified> told = ToldAfterInit(client, counts);
        for (const Notified& one : told)
            ExpectUsable(trial, one);
        for (const PortKind& kind : kPortKinds)
            ExpectPorts(trial, told, kind, counts.*kind.count);
    }
    const std::vector<Notified> others = watcher.TakeAll(0ms);
    trial.Expect(others.empty(), "nothing for a client when another announces itself", TextOf(trial, others));
}

void OtherTask(Trial& trial)
{
    const PortCounts counts = CountPorts(trial);
    Actor& client = trial.NewProcess();
    trial.ExpectOk(client.Send("INIT procName=" + client.Name() + " taskName=OTHER"));
    const std::vector<Notified> told = client.TakeAll(kQuiet);
    trial.Expect(told.empty(), "nothing to come to the task VAPI of a client that has named another one",
                 TextOf(trial, told));
    const std::vector<Notified> then = ToldAfterInit(client, counts);
    trial.Expect(!then.empty() || counts.told == 0,
                 "the states of ports to come once the client has named its task VAPI", TextOf(trial, then));
}

/// Nothing comes to a client that has only announced itself, and to one that has left.
void Silence(Trial& trial)
{
    const PortCounts counts = CountPorts(trial);
    Actor& announced = AnnouncedClient(trial, counts);
    Actor& left = AnnouncedClient(trial, counts);
    left.Need("SET_DEC_PARAM decStmNo=$decStmNo w=1280 h=720");
    left.Need("DEC_START decStmNo=$decStmNo");
    left.The("loop");
    TakeAllSoFar(left, counts);
    left.Send("EXIT");
    left.Send("GET_VI_COUNT"); // served after it
    announced.TakeAll(kQuiet);
    left.TakeAll(0ms);
    // What belonged to it is gone, and what it does now is its own affair.
    left.Send("SET_LOOP_START loop=$loop enable=1");
    if (const Reply created = left.Send("DEC_CREATE"); created.IsOk())
        left.Set("decStmNo", created.Number("decStmNo"));
    for (const char* line : {"SET_DEC_PARAM decStmNo=$decStmNo w=1280 h=720", "DEC_START decStmNo=$decStmNo"})
        left.Send(line);
    const std::vector<Notified> toAnnounced = announced.TakeAll(1000ms);
    Require(trial, false, toAnnounced.empty(), "nothing for a client that does nothing",
            TextOf(trial, toAnnounced));
    const std::vector<Notified> toLeft = left.TakeAll(0ms);
    trial.Expect(toLeft.empty(), "nothing for a client after its EXIT", TextOf(trial, toLeft));
}

std::string PortName(const Notified& link)
{
    for (const decoder::Field& field : link.message.fields) {
        if (field.path == "portName")
            return std::get<std::string>(field.value);
    }
    return "";
}

/// What tells that a source has gone names the port as what told that it had come.
void NamedAlike(Trial& trial)
{
    Actor& client = trial.NewClient();
    for (const char* line : {"SET_VO_SRC outEngNo=$outEngNo picNum=1 subPic[0].inputId=$inEngNo",
                             "VI_START inEngNo=$inEngNo", "VO_START outEngNo=$outEngNo"})
        client.Need(line);
    const auto come = client.Await(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, kLongest);
    client.Need("VO_STOP outEngNo=$outEngNo");
    const auto gone = client.Await(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, kLongest);
    if (!come || !gone)
        trial.Skip("no such notifications come");
    trial.Expect(PortName(*come) == PortName(*gone), "both to name " + PortName(*come), PortName(*gone));
}

/// A cable is pulled and plugged in again, which only the virtual service does on command.
void Everyone(Trial& trial)
{
    const Survey& survey = trial.TheSurvey();
    if (!survey.isVirtual || survey.pluggedInputs == 0)
        trial.Skip("no cable can be pulled on command");
    const PortCounts counts = CountPorts(trial);
    Actor* const clients[] = {&AnnouncedClient(trial, counts), &AnnouncedClient(trial, counts)};
    Actor& hand = trial.NewProcess();
    const std::string port = " direction=" + std::to_string(VESK_CONTROL_INPUT) + " port=$viPort";
    for (const char* request : {"VESK_CONTROL_UNPLUG", "VESK_CONTROL_PLUG"}) {
        trial.ExpectOk(hand.Send(request + port));
        for (Actor* client : clients)
            trial.Expect(client->Await(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, kLongest).has_value(),
                         "each client to be told of it", "nothing for one of them");
    }
}

constexpr Test kTests[] = {
    {"notifications.ports",
     "after INIT, each port is told once: its state, then its format if it is plugged in",
     "an application learns in no other way what it can show, and where", AfterInit},
    {"notifications.task", "what a client is told goes to the task that it has named in INIT",
     "another task of the process cannot know what to do with it", OtherTask},
    {"notifications.channels", "what decoders and loops do is notified once, to their owner",
     "an application waits for these notifications, and acts on each", ChannelsNotify},
    {"notifications.pictures", "what cameras and displays do is notified once, to the owner of the engine",
     "an application waits for these notifications, and acts on each", PicturesNotify, kNoticed},
    {"notifications.names", "a source that leaves a display is named as when it came",
     "an application finds what has gone by its name", NamedAlike, kNoticed},
    {"notifications.everyone", "a cable that is pulled and plugged in is told to every client",
     "each application shows what there is to be shown", Everyone, kNoticed},
    {"notifications.order", "a client that changes many things is told in the same order",
     "the last notification is what holds, so an older one must not come after it", NotifiedInOrder},
    {"notifications.silence", "for a second, nothing comes to a client that does nothing or has sent EXIT",
     "who has left, or has caused nothing, has no use for what is told", Silence, kLong},
};

} // namespace

std::span<const Test> NotificationTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
