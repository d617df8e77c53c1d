// What the virtual service receives, answers and notifies, message by message.
#pragma once

#include "tools/recording/event.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/settings.h"
#include "vesk_service/control.h"

#include <functional>

namespace vesk::ctl {

/// @throw Failure if the command of "device" is a line of a session
void RequireNoSession(const Settings& settings, const char* command);

/// Messages of all applications, as events of a recording that each application would have made.
class Watch {
public:
    /// Has the service show its messages. It stops when this process ends, or by Stop. @throw Failure
    Watch(Client& client, Settings& settings);

    void Stop();

    /// Asks a silent service again, in case it has been restarted. False if there is none any more. @throw
    /// Failure if it refuses or does not answer
    bool Renew();

    using OnEvent = std::function<void(recording::Event&&)>;
    using OnLost = std::function<void(uint64_t lost)>;

    /// Gives the events of the next message, for which it waits as Client::Next does; false if there is none.
    /// @param onLost  Told before them if messages before this one were lost.
    bool Next(std::optional<Clock::time_point> deadline, const OnEvent& onEvent, const OnLost& onLost);

    /// Stops, also after an interrupt, and gives what was shown before that. False if there is no service any
    /// more. @throw Failure
    bool Finish(const OnEvent& onEvent, const OnLost& onLost);

private:
    Call Switch(bool isOn);
    bool SwitchIfServed(bool isOn);
    recording::Event Begin(const VeskControlMessage& seen) const;
    void AddNotification(recording::Event& event, const OnEvent& onEvent);

    Client& client_;
    Settings& settings_;
    ServiceName service_;
    uint64_t lost_ = 0;
    bool isLast_ = false;
    uint64_t lastNotification_ = uint64_t{1} << 52U; ///< Not to be taken for an exchange of the service.
};

} // namespace vesk::ctl
