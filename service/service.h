// The virtual video service: its model of a device, and how it handles a message.
#pragma once

#include "platform/os_msg.h"
#include "service/cables.h"
#include "service/clients.h"
#include "service/codecs.h"
#include "service/counters.h"
#include "service/device.h"
#include "service/device_file.h"
#include "service/faults.h"
#include "service/inputs.h"
#include "service/links.h"
#include "service/lost_queues.h"
#include "service/mice.h"
#include "service/outputs.h"
#include "service/overlays.h"
#include "service/queues.h"
#include "service/scenario.h"
#include "service/state.h"
#include "service/timeline.h"
#include "service/uvc.h"

namespace vesk::service {

/// Not thread-safe: everything runs on the thread that runs the service's task.
class Service {
    const Identity self_;
    const DeviceDescription described_;
    Notifications notifications_;

public:
    explicit Service(Identity self, DeviceDescription described = DefaultDevice(), Timeline::Clock clock = {})
        : self_(std::move(self)), described_(std::move(described)), timeline(std::move(clock))
    {
    }

    const Identity& Self() const { return self_; }
    NumberSeed Numbers() const { return described_.numbers; }

    /// Tells the clients of an earlier run that the service is back.
    void Begin();
    /// Tells the clients that the service ends.
    void End();

    /// The device is as described again: whatever clients have opened, created or set is gone. They stay
    /// known and are notified as if the service had ended and started again.
    Result Reset();

    /// Serves one message. A sender that waits gets an answer, whatever the message holds.
    void Handle(OsMsgEnvelope& message);

    /// Frees what a process had that has ended.
    void Ended(HostProcess process);

    /// Executes a control message, given by its number and data block, as if it had arrived from nobody.
    Result Execute(uint32_t number, std::span<const std::byte> data);

    Result Init(const Sender&, const VeskVideoInitInfo&);
    Result Exit(const Sender&);
    Result DestroyQueue(Owned& queue);
    Result SetCallback(const Sender&, const VeskVideoCallbackInfo&);
    Result SendNotification(std::span<const std::byte>, uint32_t* clients);
    Result Tick(const Sender&);

    Watchers watchers{self_}; // outlives the answers that are owed
    Timeline timeline;
    Clients clients{self_, watchers};
    Faults faults;
    Scenario scenario{timeline, [this](uint32_t number, auto data) { return Execute(number, data); }};
    Inputs inputs{notifications_, described_};
    Codecs codecs{notifications_, described_, timeline};
    Outputs outputs{notifications_, described_, inputs, codecs};
    Mice mice{codecs, described_};
    Uvc uvc{described_.limits};
    Overlays overlays{described_};
    Queues queues{described_.limits};
    LostQueues lostQueues{*this};
    Device device{notifications_, described_};
    Cables cables{*this};
    Links links{*this, notifications_};
    Counters counters;
    State state{*this};

private:
    Result Serve(uint32_t number, const Sender&, std::span<const std::byte> data, Bytes& answer);
    /// Frees what a process has opened, created or announced.
    void Release(HostProcess process);
    /// Notifies what has followed from a change of the model.
    void Changed();
    /// Triggers the steps of the scenario that wait for a message, and the faults that it meets.
    Effects Trigger(const MessageView& message);

    // How answers and notifications leave (delivery.cpp)
    struct Deferral;
    void Defer(OsMsgEnvelope& message, const std::string& text, const Effects&,
               const Watchers::WatchedRequest&, Bytes answer);
    void GiveDeferred(Deferral&);
    /// Returns how many clients it is sent to, now or later.
    uint32_t Notify(const PendingNotification&);
    void NotifyEach(const std::vector<PendingNotification>&);
    bool NotifyOne(const std::string& procName, const PendingNotification&);
};

} // namespace vesk::service
