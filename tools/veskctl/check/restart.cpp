// The group "restart": a service that ends and starts again.
#include "tools/veskctl/check/told.h"

#include "base/descriptor.h"
#include "tools/veskctl/program.h"

#include <algorithm>
#include <set>
#include <thread>
#include <tuple>

#include <fcntl.h>

namespace vesk::ctl::check {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

/// How long the user's command may take, and the service until it serves again.
constexpr std::chrono::seconds kLongestRestart(60);
/// How long after that a client may wait to be told.
constexpr std::chrono::seconds kLongestTelling(10);
/// Between two attempts to reach the service.
constexpr milliseconds kPause = 50ms;
constexpr uint32_t kTimeoutMs = 2000;
/// How late a client may learn that a time-out is over, on a busy machine.
constexpr milliseconds kSlack = 5000ms;

/// The user's command that restarts the service, while it runs.
class Command {
public:
    explicit Command(const std::string& line)
        : program_({"/bin/sh", "-c", line}, signals_,
                   {.environment = {}, .output = output_.Get(), .isHelper = true})
    {
    }

    /// @throw NotTried if it has failed
    bool HasEnded()
    {
        const std::optional<int> status = program_.Status();
        if (status.value_or(0) != 0)
            throw NotTried{"the command of --restart ended with status " + std::to_string(*status)};
        return status.has_value();
    }

private:
    AwaitedSignals signals_{};
    Descriptor output_{open("/dev/null", O_WRONLY | O_CLOEXEC)};
    Program program_;
};

/// Restarts the service, to which the client sends requests meanwhile. What tells the client that it is back;
/// nothing if it serves again but does not tell.
std::optional<Notified> RestartService(Trial& trial, Actor& client)
{
    const Prepared request = client.Encode("GET_VI_COUNT");
    Command command(trial.TheBench().restartCommand);
    trial.Note(client, "goes on while the service is restarted");
    const auto deadline = Clock::now() + kLongestRestart;
    std::optional<Clock::time_point> ended;
    std::optional<Notified> told;
    while (!ended || (!told && Clock::now() - *ended < kLongestTelling)) {
        if (!ended && command.HasEnded())
            ended = Clock::now();
        const Reply reply = client.Send(request.number, request.data, kTimeoutMs);
        trial.Expect(reply.outcome.duration < milliseconds(kTimeoutMs) + kSlack,
                     "a request to end within its time-out of 2 s while the service is restarted",
                     std::to_string(reply.outcome.duration.count() / 1000) + " s");
        if (!told)
            told = client.Await(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, kPause);
        else
            std::this_thread::sleep_for(kPause);
        if (Clock::now() < deadline)
            continue;
        if (!ended)
            trial.Skip("the command of --restart has not ended after 60 s");
        trial.Expect(told || reply.IsOk(), "the service to be back within 60 s", reply.Text());
        break;
    }
    return told;
}

using Port = std::tuple<uint32_t, uint64_t, uint64_t>;

/// Number, port and plug state of what is told after INIT.
std::set<Port> PortsIn(const std::vector<Notified>& told)
{
    std::set<Port> ports;
    for (const Notified& one : told)
        ports.emplace(one.Number(), one.Field("port").value_or(0), one.Field("val").value_or(0));
    return ports;
}

/// Something that a client has opened before the restart, and how it is read.
struct Opened {
    const char* create;
    const char* number;
    const char* set;
    const char* read;
    Bytes before{}; ///< What was read.
};

/// Its number means nothing after the restart, or what it meant before.
void ExpectGoneOrKept(Trial& trial, Actor& client, const Opened& opened)
{
    const Reply reply = client.Send(opened.read);
    if (reply.IsOk()) {
        const BytesView now = reply.Payload();
        trial.Expect(std::equal(now.begin(), now.end(), opened.before.begin(), opened.before.end()),
                     reply.request.Title() +
                         " to be refused after the restart, or to answer what was set before it",
                     "other values");
        return;
    }
    trial.ExpectRefused(reply, "what was opened before the restart is gone");
    const Reply another = client.Send(opened.create);
    trial.ExpectOk(another);
    client.Set(opened.number, another.Number(opened.number));
}

/// What a client was told of a restart.
struct Told {
    bool ofEnd;
    bool ofStart;
};

/// Restarts the service once; a client that has been told of its ports is told of the same ones again.
Told ExpectRestarted(Trial& trial, Actor& client, const PortCounts& counts, const std::set<Port>& ports)
{
    std::vector<Opened> all{{"DEC_CREATE", "decStmNo", "SET_DEC_PARAM decStmNo=$decStmNo w=1280 h=720",
                             "GET_DEC_PARAM decStmNo=$decStmNo"}};
    if (!trial.TheSurvey().inputs.empty())
        all.push_back({"OPEN_VI_PORT viPort=$viPort", "inEngNo", "SET_VI_PARAM inEngNo=$inEngNo",
                       "GET_VI_PARAM inEngNo=$inEngNo"});
    for (Opened& opened : all) {
        client.Need(opened.set);
        const Reply reply = client.Need(opened.read);
        opened.before.assign(reply.Payload().begin(), reply.Payload().end());
    }
    const std::optional<Notified> start = RestartService(trial, client);
    const auto end = client.Await(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY, 0ms);
    trial.Expect(
        !end || !start || end->arrived.time <= start->arrived.time,
        "notification 206, which tells that the service ends, before 207, which tells that it is back",
        "it after 207");
    trial.ExpectOk(client.Send("GET_VI_COUNT"));
    for (const Opened& opened : all)
        ExpectGoneOrKept(trial, client, opened);
    client.Announce();
    trial.Expect(PortsIn(TakePorts(client, counts)) == ports,
                 "a client that announces itself anew to be told of the same ports as before the restart",
                 "others");
    const auto again = client.Await(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, 0ms);
    trial.Expect(!again, "notification 207 once for each restart", "a second one");
    return {end.has_value(), start.has_value()};
}

void Restarted(Trial& trial)
{
    const PortCounts counts = CountPorts(trial);
    Actor& client = trial.NewClient();
    const std::set<Port> ports = PortsIn(TakePorts(client, counts));
    Actor& stranger = trial.NewProcess();
    trial.ExpectOk(stranger.Send("GET_VI_COUNT"));
    Told told{true, true};
    for (int i = 0; i < 2; ++i) { // the second time as the first
        const auto [ofEnd, ofStart] = ExpectRestarted(trial, client, counts, ports);
        told = {told.ofEnd && ofEnd, told.ofStart && ofStart};
        trial.ExpectOk(stranger.Send("GET_VI_COUNT")); // whom nobody has told
    }
    if (trial.TheProfile().Sends(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY))
        Require(trial, false, told.ofStart, "notification 207 once the service is back", "none");
    if (trial.TheProfile().Sends(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY)) // a service that is killed cannot send it
        trial.Advise(told.ofEnd, "notification 206 when the service ends", "none");
}

constexpr Test kTests[] = {
    {"restart.clients", "the service is restarted twice; its clients are told, and get on",
     "an application outlives the service, and must neither hang nor be taken for another", Restarted,
     kNoticed | kRestarts},
};

} // namespace

std::span<const Test> RestartTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
