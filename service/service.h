// The virtual video service: its model of a device, and how it handles a message.
#pragma once

#include "platform/os_msg.h"
#include "service/clients.h"
#include "service/codecs.h"
#include "service/counters.h"
#include "service/device.h"
#include "service/inputs.h"
#include "service/mice.h"
#include "service/outputs.h"
#include "service/overlays.h"
#include "service/queues.h"
#include "service/state.h"
#include "service/uvc.h"

namespace vesk::service {

/// Not thread-safe: everything runs on the thread that runs the service's task.
class Service {
    friend class State;

    const Identity self_;
    Notifications notifications_;

public:
    explicit Service(Identity self) : self_(std::move(self)) {}

    /// Tells the clients of an earlier run that the service is back.
    void Begin();
    /// Tells the clients that the service ends.
    void End();

    /// Serves one message. A sender that waits gets an answer, whatever the message holds.
    void Handle(OsMsgEnvelope& message);

    Result Init(const Sender&, const VeskVideoInitInfo&);
    Result Exit(const Sender&);
    Result SetCallback(const Sender&, const VeskVideoCallbackInfo&);

    Clients clients{self_};
    Inputs inputs{notifications_};
    Codecs codecs{notifications_};
    Outputs outputs{notifications_, inputs, codecs};
    Mice mice{codecs};
    Uvc uvc;
    Overlays overlays;
    Queues queues;
    Device device{notifications_};
    Counters counters;
    State state{*this};

private:
    Result Serve(const OsMsgEnvelope& message, Bytes& answer);
};

} // namespace vesk::service
