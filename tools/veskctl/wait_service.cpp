// The subcommand "wait-service": waits until the service answers.
#include "base/descriptor.h"
#include "base/envelope.h"
#include "decoder/names.h"
#include "tools/veskctl/client.h"
#include "tools/veskctl/commands.h"
#include "vesk_service/control.h"
#ifdef VESK_HOST_PLATFORM
#include "vesk_host/message.h"
#endif

#include <algorithm>

#include <poll.h>
#include <sys/inotify.h>

namespace vesk::ctl {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

/// When to ask again whether the service is there: soon after something has begun or ended in the runtime
/// directory, then ever more rarely. Another platform has no such directory, and this one's may be missing.
class Changes {
public:
    void AwaitOne(milliseconds most)
    {
        if (!watch_.IsOpen())
            watch_ = Watch();
        pollfd changed{watch_.Get(), POLLIN, 0};
        if (poll(&changed, 1, static_cast<int>(std::min(pause_, most).count())) > 0) {
            watch_ = Descriptor(-1); // the directory may be another one by now
            pause_ = kShortest;      // a socket is there a moment before it accepts connections
        } else {
            pause_ = std::min(pause_ * 2, watch_.IsOpen() ? kLongest : kLongestUntold);
        }
    }

private:
    static constexpr milliseconds kShortest = 1ms;
    static constexpr milliseconds kLongest = 1s;
    static constexpr milliseconds kLongestUntold = 100ms;

    static Descriptor Watch()
    {
#ifdef VESK_HOST_PLATFORM
        const Descriptor directory(HostMsgOpenRuntimeDir());
        Descriptor watch(inotify_init1(IN_CLOEXEC));
        const std::string path = "/proc/self/fd/" + std::to_string(directory.Get());
        if (directory.IsOpen() &&
            inotify_add_watch(watch.Get(), path.c_str(), IN_CREATE | IN_DELETE_SELF) >= 0)
            return watch;
#endif
        return Descriptor(-1);
    }

    Descriptor watch_{-1};
    milliseconds pause_ = kShortest;
};

/// A request of which applications see nothing, nor do fault rules, scenarios and watchers. A service that
/// does not know it refuses it, and so answers as well.
Outcome Ask(Client& client, milliseconds most)
{
    VeskVideoMsgHead head{};
    head.msgId = VESK_CONTROL_FAULT_LIST;
    return client.Send(head.msgId, BytesOf(head), true, static_cast<uint32_t>(most.count()));
}

int RunWaitService(Settings& settings, double seconds)
{
    const auto begun = Clock::now();
    const auto left = [&] {
        const auto most =
            seconds == 0 ? milliseconds(INT32_MAX) : milliseconds(static_cast<int64_t>(seconds * 1000));
        return std::chrono::ceil<milliseconds>(begun + most - Clock::now());
    };
    Client client(settings.service, Client::Interrupt::kEndsProgram);
    Changes changes;
    std::string reason; // which the platform tells once, and not again until there is another
    while (true) {
        const Outcome outcome = Ask(client, std::max(left(), 1ms));
        if (outcome.platformResult == 0)
            return kDone;
        if (reason.empty() || !outcome.reason.empty())
            reason = outcome.reason.empty() ? decoder::ResultText(outcome.platformResult) : outcome.reason;
        if (left() <= 0ms) {
            char time[32];
            std::snprintf(time, sizeof time, "%g s: ", seconds);
            throw Failure(kTimedOut, settings.service + " does not serve after " + time + reason);
        }
        changes.AwaitOne(left());
    }
}

} // namespace

CommandLine WaitServiceCommand(Settings& settings)
{
    auto seconds = std::make_shared<double>(30);
    return {
        .name = "wait-service",
        .summary = "Wait until the service answers",
        .footer = "Example:\n"
                  "  vesk-video-service & veskctl wait-service && vesk-display-tour\n"
                  "  veskctl wait-service --timeout 2.5 --service VIDEO/VCTL",
        .options = {{.name = "--timeout",
                     .place = seconds.get(),
                     .help = "Seconds to wait; 0 is without limit",
                     .showsDefault = true,
                     .range = std::pair(0.0, 86400.0)}},
        .run = [seconds, &settings] { return RunWaitService(settings, *seconds); },
    };
}

} // namespace vesk::ctl
