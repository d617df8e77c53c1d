// The virtual video service: its model of a device, and how it handles a message.
#pragma once

#include "platform/os_msg.h"
#include "service/clients.h"
#include "service/codecs.h"
#include "service/control.h"
#include "service/device.h"
#include "service/device_file.h"
#include "service/inputs.h"
#include "service/mice.h"
#include "service/outputs.h"
#include "service/overlays.h"
#include "service/queues.h"
#include "service/uvc.h"

namespace vesk::service {

/// Not thread-safe: everything runs on the thread that runs the service's task.
class Service {
    const Identity self_;
    const DeviceDescription described_;
    Notifications notifications_;

public:
    explicit Service(Identity self, DeviceDescription described = DefaultDevice())
        : self_(std::move(self)), described_(std::move(described))
    {
    }

    /// Tells the clients of an earlier run that the service is back.
    void Begin();
    /// Tells the clients that the service ends.
    void End();

    /// The device is as described again: whatever clients have opened, created or set is gone. They stay
    /// known and are notified as if the service had ended and started again.
    void Reset();

    /// Serves one message. A sender that waits gets an answer, whatever the message holds.
    void Handle(OsMsgEnvelope& message);

    Result Init(const Sender&, const VeskVideoInitInfo&);
    Result Exit(const Sender&);
    Result SetCallback(const Sender&, const VeskVideoCallbackInfo&);

    Clients clients{self_};
    Inputs inputs{notifications_, described_};
    Codecs codecs{notifications_, described_};
    Outputs outputs{notifications_, described_, inputs, codecs};
    Mice mice{codecs, described_.limits};
    Uvc uvc{described_.limits};
    Overlays overlays{described_.limits};
    Queues queues{described_.limits};
    Device device{notifications_, described_};
    Control control{*this};

private:
    Result Serve(const OsMsgEnvelope& message, Bytes& answer);
};

} // namespace vesk::service
