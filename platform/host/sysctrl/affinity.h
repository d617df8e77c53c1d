// CPU affinity of the message threads.
#pragma once

namespace vesk::host {

/// The calling thread runs a message loop while this lives: OsSetProcessAffinity binds it, whether called
/// before or meanwhile.
class MessageThread {
public:
    MessageThread();
    MessageThread(const MessageThread&) = delete;
    ~MessageThread();
};

} // namespace vesk::host
