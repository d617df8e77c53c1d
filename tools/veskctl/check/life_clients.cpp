// The group "life": clients that come, go and come again, and their names.
#include "tools/veskctl/check/trial.h"

#include <algorithm>
#include <cstring>

namespace vesk::ctl::check {

using namespace std::chrono_literals;

namespace {

/// A client announces itself, perhaps once more, and must be notified of the ports.
void ExpectAnnounced(Trial& trial, Actor& client)
{
    client.Announce();
    const Survey& survey = trial.TheSurvey();
    const auto expect = [&](uint32_t number, const std::vector<uint32_t>& ports) {
        const auto isOfFirst = [&](const Notified& one) {
            return one.Number() == number && one.Field("port") == ports[0];
        };
        trial.Expect(ports.empty() || client.Await(isOfFirst, 10s).has_value(),
                     "the client to be notified of the ports after INIT", "nothing for 10 seconds");
    };
    expect(VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, survey.outputs);
    expect(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, survey.inputs);
}

Actor& NewClient(Trial& trial)
{
    Actor& client = trial.NewProcess();
    ExpectAnnounced(trial, client);
    return client;
}

/// The service must know that it is a client, or must not; SET_CALLBACK tells, if the device has it.
void ExpectKnown(Trial& trial, Actor& client)
{
    if (trial.TheProfile().Has(VESK_VIDEO_MSG_SET_CALLBACK))
        trial.ExpectOk(client.Send("SET_CALLBACK"));
}

void ExpectUnknown(Trial& trial, Actor& client, const std::string& why)
{
    if (trial.TheProfile().Has(VESK_VIDEO_MSG_SET_CALLBACK))
        trial.ExpectRefused(client.Send("SET_CALLBACK"), why);
}

/// A client that has an encoder, and that other clients must not harm.
class Bystander {
public:
    explicit Bystander(Trial& trial)
        : trial_(trial), client_(NewClient(trial)), encoder_(client_.The("encStmNo"))
    {
    }

    const std::string& Name() const { return client_.Name(); }

    /// It is known, served and notified, and has its encoder.
    void ExpectUnharmed()
    {
        ExpectKnown(trial_, client_); // before INIT could mend it
        trial_.ExpectOk(client_.Send("GET_ENC_PARAM encStmNo=" + std::to_string(encoder_)));
        ExpectAnnounced(trial_, client_);
        trial_.ExpectOk(client_.Send("GET_ENC_PARAM encStmNo=" + std::to_string(encoder_)));
    }

private:
    Trial& trial_;
    Actor& client_;
    uint64_t encoder_;
};

/// INIT with these names, whatever they are, as the library would send them.
Reply SendInit(Actor& client, std::string_view procName, std::string_view taskName)
{
    VeskVideoInitInfo info{};
    procName.copy(info.procName, sizeof info.procName);
    taskName.copy(info.taskName, sizeof info.taskName);
    Bytes data(sizeof(VeskVideoMsgHead) + sizeof info);
    std::memcpy(data.data() + sizeof(VeskVideoMsgHead), &info, sizeof info);
    return client.Send(VESK_VIDEO_MSG_INIT, data);
}

void ExpectAnswered(Trial& trial, const Reply& reply)
{
    trial.Expect(reply.outcome.platformResult == 0, reply.request.Title() + " to be answered", reply.Text());
}

void InitTwice(Trial& trial)
{
    Bystander(trial).ExpectUnharmed();
}

void BeforeInit(Trial& trial)
{
    Actor& client = trial.NewProcess();
    ExpectUnknown(trial, client, "INIT has to come before it");
    for (const char* line : {"GET_VI_COUNT", "VO_START outEngNo=1", "ENC_CREATE"})
        ExpectAnswered(trial, client.Send(line));
    ExpectAnnounced(trial, client);
    ExpectKnown(trial, client);
}

void AfterExit(Trial& trial)
{
    Actor& client = NewClient(trial);
    const std::string line = "GET_ENC_PARAM encStmNo=" + std::to_string(client.The("encStmNo"));
    client.Send("EXIT");
    ExpectUnknown(trial, client, "the client has exited");
    ExpectAnnounced(trial, client);
    trial.ExpectRefused(client.Send(line), "EXIT has deleted the encoder");
    client.Forget("encStmNo");
    client.The("encStmNo");
    ExpectKnown(trial, client);
}

void ExitTwice(Trial& trial)
{
    Bystander bystander(trial);
    Actor& client = NewClient(trial);
    client.Send("EXIT");
    client.Send("EXIT");
    ExpectAnnounced(trial, client);
    trial.ExpectOk(client.Send("ENC_CREATE"));
    bystander.ExpectUnharmed();
}

void SameName(Trial& trial)
{
    trial.Case("a process of the same name", [&] {
        Bystander bystander(trial);
        Actor& other = trial.NewProcess(bystander.Name());
        ExpectAnswered(trial, SendInit(other, bystander.Name(), kOwnTaskName));
        trial.ExpectOk(other.Send("GET_VI_COUNT"));
        bystander.ExpectUnharmed();
    });
    trial.Case("a client that gives another's name in its INIT", [&] {
        Bystander bystander(trial);
        Actor& other = NewClient(trial);
        ExpectAnswered(trial, SendInit(other, bystander.Name(), kOwnTaskName));
        bystander.ExpectUnharmed();
        trial.ExpectOk(other.Send("GET_VI_COUNT"));
    });
}

void SameNameExits(Trial& trial)
{
    Bystander bystander(trial);
    Actor& other = trial.NewProcess(bystander.Name());
    ExpectAnswered(trial, SendInit(other, bystander.Name(), kOwnTaskName));
    other.Send("EXIT");
    ExpectAnswered(trial, other.Send("GET_VI_COUNT")); // by then the service has seen it
    bystander.ExpectUnharmed();
}

void NameOfTheDead(Trial& trial)
{
    Actor& first = NewClient(trial);
    const std::string name = first.Name();
    first.Kill();
    ExpectAnnounced(trial, trial.NewProcess(name));
}

void LongestName(Trial& trial)
{
    std::string name = trial.NewProcess().Name();
    name.insert(0, VESK_VIDEO_NAME_SIZE - 1 - std::min<size_t>(name.size(), VESK_VIDEO_NAME_SIZE - 1), 'x');
    Actor& client = trial.NewProcess(name);
    ExpectAnnounced(trial, client);
    ExpectAnnounced(trial, client);
}

void BadNames(Trial& trial)
{
    struct Row {
        const char* what;
        std::string_view procName;
        std::string_view taskName;
    };
    constexpr Row kRows[] = {
        {"no name", "", ""},
        {"no task", "check", ""},
        {"names without an end", "0123456789abcdef", "0123456789abcdef"},
        {"unprintable names", "\x01\x1b[2J\n\xff", "\t\x80"},
        {"names like paths", "../../x", "a/b"},
    };
    for (const Row& row : kRows) {
        trial.Case(row.what, [&] {
            Bystander bystander(trial);
            Actor& client = trial.NewProcess();
            ExpectAnswered(trial, SendInit(client, row.procName, row.taskName));
            bystander.ExpectUnharmed();
            ExpectAnnounced(trial, client);
        });
    }
}

constexpr Test kTests[] = {
    {"life.init-twice", "INIT sent again succeeds, is followed by the ports' notifications and frees nothing",
     "VeskVideoInit may be called again, which repeats all of its steps", InitTwice},
    {"life.before-init", "requests before INIT are answered, and SET_CALLBACK is refused",
     "an application that has forgotten INIT must hear of it", BeforeInit},
    {"life.after-exit", "a client that has sent EXIT can begin anew with INIT, and has nothing from before",
     "an application may stop using the library and start again", AfterExit},
    {"life.exit-twice", "EXIT sent again harms neither the client nor others",
     "several parts of an application may each call VeskVideoExit", ExitTwice},
    {"life.same-name", "a client whose name another process uses as well is served and notified on",
     "applications that do not name themselves all have the same name", SameName},
    {"life.same-name-exits", "EXIT from a process of the same name leaves the first one what it has",
     "applications that do not name themselves all have the same name",
     [](Trial& trial) { SameNameExits(trial); }},
    {"life.name-of-the-dead", "a client is notified whose name was that of one that was killed",
     "an application that has crashed is started again", NameOfTheDead},
    {"life.longest-name", "a client whose name has 15 characters is notified",
     "the field has room for that many, and the library sends them", LongestName},
    {"life.bad-names", "INIT with names that cannot be is answered, and harms nobody",
     "any process can send anything, and others must get on", BadNames},
};

} // namespace

std::span<const Test> ClientTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
