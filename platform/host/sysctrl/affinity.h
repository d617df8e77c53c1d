// CPU affinity of the message threads.
#pragma once

namespace vesk::host {

/// The calling thread runs a message loop while this lives: it is given the CPUs that OsSetProcessAffinity
/// has asked for or asks for meanwhile.
class MessageThread {
public:
    MessageThread();
    MessageThread(const MessageThread&) = delete;
    ~MessageThread();
};

} // namespace vesk::host
