// Remote and local mouse streams.
#pragma once

#include "service/codecs.h"

namespace vesk::service {

struct RemoteMouse : Startable {
    uint32_t queId = 0;
    uint32_t decStmNo = 0;
    bool isDecoderGone = false; ///< Another one that gets the number is not it.
    uint32_t openParam = 0;
    VeskVideoMouseArea area{};

    Result SetArea(const VeskVideoMouseArea&);
    Result Start();
};

struct LocalMouse : Startable {
    uint32_t queId = 0;
    uint32_t attachId = 0;
    bool isIndependent = false;
    bool isShown = false;
    VeskVideoLocalMouseParam param{};
};

class Mice {
public:
    Mice(Codecs& codecs, const DeviceDescription& device)
        : remote(device.limits.mice, RangeOf(Numbering::kRemoteMice, device.numbers)),
          local(device.limits.mice, RangeOf(Numbering::kLocalMice, device.numbers)), codecs_(&codecs)
    {
    }
    void Release(HostProcess process);

    Numbered<RemoteMouse> remote;
    Numbered<LocalMouse> local;

    Result OpenRemote(const Sender&, Argument<"openParam">, uint32_t* mouseStmNo);
    /// Notes which decoders are gone.
    void NoteGone();

    Result Connect(RemoteMouse&, Argument<"decStmNo">);

private:
    Codecs* codecs_;
};

} // namespace vesk::service
