// The receiving end of a connection: takes messages off the stream, sends answers back.
#pragma once

#include "message/frame.h"
#include "message/reactor.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vesk::host {

class Incoming;

/// A message that has arrived completely.
struct Message {
    OsMsgEnvelope envelope{};
    std::unique_ptr<std::byte[]> data;
    pid_t senderProcess = 0;
    std::shared_ptr<Incoming> from; // set when the sender waits for an answer
};

class Incoming : public Watched, public std::enable_shared_from_this<Incoming> {
public:
    /// Takes ownership of a message; false when there is no room for it.
    using Receiver = std::function<bool(std::unique_ptr<Message>)>;

    Incoming(UniqueFd socket, pid_t peer, std::string endpoint, Receiver receiver);

    /// Has the reactor watch the connection.
    void Start();

    void OnReady(uint32_t events) override;

    /// Sends the answer to the message in hand. False when the sender will see a failure.
    bool Answer(const OsMsgEnvelope& answer);

    void Close();

private:
    void ReadLocked();
    bool TakeHeadLocked();
    void DeliverLocked();
    void FlushLocked();
    void CloseLocked();

    std::mutex lock_;
    UniqueFd socket_;
    const pid_t peer_;
    const std::string endpoint_;
    const Receiver receiver_;

    FrameHead head_;
    size_t received_ = 0; // bytes of head and data of the message that is arriving
    std::unique_ptr<Message> arriving_;
    bool owesAnswer_ = false;
    std::vector<std::byte> unsent_; // of an answer that the socket had no room for
};

} // namespace vesk::host
