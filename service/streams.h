// Mouse streams, UVC streams, overlay channels and the queues that clients announce.
#pragma once

#include "service/codecs.h"
#include "service/service_queue.h"

#include <set>

namespace vesk::service {

class Mice {
public:
    struct Remote : Owned {
        uint32_t queId = 0;
        uint32_t decStmNo = 0;
        bool isStarted = false;
        VeskVideoMouseArea area{};
    };

    struct Local : Owned {
        uint32_t queId = 0;
        uint32_t attachId = 0;
        bool isIndependent = false;
        bool isShown = false;
        bool isStarted = false;
        VeskVideoLocalMouseParam param{};
    };

    explicit Mice(Codecs& codecs) : codecs_(codecs) {}
    void Release(pid_t process);

    Numbered<Remote> remote{VESK_SERVICE_MAX_MICE};
    Numbered<Local> local{VESK_SERVICE_MAX_MICE};

    Result Connect(const Request&, Remote&);
    Result StartRemote(const Request&, Remote&);
    Result StartLocal(const Request&, Local&);

private:
    Codecs& codecs_;
};

class Uvc {
public:
    struct Stream : Owned {
        VeskVideoUvcParam param{};
        VeskVideoUvcParamEx paramEx{};
        bool hasParam = false;
        bool isStarted = false;
        uint32_t keyFrames = 0;
    };

    void Release(pid_t process);

    Numbered<Stream> streams{VESK_SERVICE_MAX_UVC, 0};

    Result Init(const Request&);
    Result Deinit(const Request&);
    Result Open(const Request&, uint32_t* uvcStmNo);
    Result SetParam(const Request&, Stream&, const VeskVideoUvcParam&);
    Result Start(const Request&, Stream&);
    Result ForceKeyFrame(const Request&, Stream&);

private:
    std::set<pid_t> users_; // processes that have initialised it
};

class Overlays {
public:
    struct Channel : Owned {
        ServiceQueue queue;
        VeskVideoOverlayParam param{};
        bool hasParam = false;
        bool isEnabled = false;
    };

    void Release(pid_t process) { channels.Release(process); }

    Numbered<Channel> channels{VESK_SERVICE_MAX_OVERLAYS};

    Result Create(const Request&, uint32_t* layer);
    Result GetQueue(const Request&, Channel&, uint32_t* handle);
    Result SetParam(const Request&, Channel&, const VeskVideoOverlayParam&);
    Result Enable(const Request&, Channel&);
};

/// Queues that clients have created and announced.
class Queues {
public:
    Result Announce(const Request&);
    Result Withdraw(const Request&);
    Result InitClient(const Request&);

private:
    std::set<uint32_t> announced_;
    std::set<std::string> servers_;
};

} // namespace vesk::service
