// The receiving end of a connection: reads messages off the stream, sends answers back.
#pragma once

#include "message/frame.h"
#include "message/inbox.h"

#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace vesk::host {

/**
 * While a sender waits for its answer nothing more is handed on from its connection, so that a connection
 * never has more than one message and one answer in hand. Guarded by the inbox's lock, which the functions
 * take that any thread may call.
 */
class Connection : public Watched, public std::enable_shared_from_this<Connection> {
public:
    Connection(UniqueFd socket, pid_t peer, std::string endpoint, std::shared_ptr<Inbox> inbox);

    /// Has the inbox, whose lock is held, watch it. False, with errno set, when that fails.
    bool Start();

    void OnReady(uint32_t events) override;

    /// Sends the answer to a message that came from here. False when the sender will see a failure.
    bool Answer(const OsMsgEnvelope& answer, uint64_t sequence);

    /**
     * Keeps the answer to a message that came from here owed until this connection is closed. Returns the
     * number to take it by: one that nothing is kept under when the sender has gone already, 0 when too many
     * answers are owed. May throw std::bad_alloc.
     */
    uint64_t Defer(const OsMsgEnvelope& request, uint64_t sequence);

    void Close() override;

private:
    void Read();
    void ReadSome();
    void Feed(const std::byte* bytes, size_t count);
    bool TakeHead();
    void DeliverIfComplete();
    void Lose(const std::exception& error);
    void Flush();
    void Drop();

    UniqueFd socket_;
    uint64_t number_ = 0; // of the inbox
    const pid_t peer_;
    const std::string endpoint_;
    const std::shared_ptr<Inbox> inbox_;

    FrameHead head_;
    size_t received_ = 0; // bytes of head and data of the message that is arriving
    size_t toSkip_ = 0;   // bytes of data of one that there was no memory for
    std::unique_ptr<Message> arriving_;
    bool owesAnswer_ = false;
    uint64_t deferred_ = 0;         // number of the last answer that was put off
    bool hasUnread_ = false;        // there may be something to read
    bool hasHungUp_ = false;        // and in the end there will be nothing more
    bool isAbandoned_ = false;      // nobody will read an answer
    std::vector<std::byte> early_;  // read, and not to be handed on before the answer is given
    std::vector<std::byte> unsent_; // of an answer that the socket had no room for
};

} // namespace vesk::host
