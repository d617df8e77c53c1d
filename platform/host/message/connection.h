// The receiving end of a connection: takes in messages, sends answers back.
#pragma once

#include "message/frame.h"
#include "message/inbox.h"
#include "message/peer.h"
#include "message/shared_block.h"

#include <memory>
#include <new>
#include <string>

namespace vesk::host {

/**
 * While a sender waits for its answer nothing more is handed on from its connection, so that a connection
 * never has more than one message and one answer in hand. Guarded by the inbox's lock, which the functions
 * take that any thread may call.
 */
class Connection : public Watched, public std::enable_shared_from_this<Connection> {
public:
    Connection(pid_t peer, std::string endpoint, std::shared_ptr<Inbox> inbox);

    /// Has the inbox, whose lock is held, watch a socket, and takes that over. False, with errno set, when
    /// that fails. May throw std::bad_alloc.
    bool Start(UniqueFd& socket);

    void OnReady(uint32_t events) override;

    /// Sends the answer to a message that came from here. False when the sender will see a failure.
    bool Answer(const OsMsgEnvelope& answer, uint64_t sequence);

    /**
     * Keeps the answer to a message that came from here owed until this connection is closed. Returns the
     * number to take it by, or 0 when too many answers are owed. When the sender has gone already, nothing is
     * kept under that number. May throw std::bad_alloc.
     */
    uint64_t Defer(const OsMsgEnvelope& request, uint64_t sequence);

    void Close() override;

private:
    void Read();
    bool Identify();
    bool Take(const FirstPacket& packet, size_t size);
    bool TakeRest(size_t size, const UniqueFd& descriptor);
    bool TakeBytes(size_t count);
    bool HasBlock() const;
    void Deliver();
    void Lose(const std::bad_alloc& error, bool isAwaited);
    void Flush();
    void Drop();

    UniqueFd socket_;
    uint64_t number_ = 0;    // of the inbox
    const pid_t peer_;       // in this process's namespace; 0 when it has no number there
    HostProcess sender_ = 0; // said by its first message
    std::shared_ptr<Peer> process_;
    const std::string endpoint_;
    const std::shared_ptr<Inbox> inbox_;

    std::unique_ptr<Message> arriving_;
    size_t received_ = 0;                   // bytes of its data
    size_t toSkip_ = 0;                     // bytes of data of one that there was no memory for
    DataPlace place_ = DataPlace::kPackets; // of its data; kNewBlock until the block has come
    SharedBlock block_;
    bool owesAnswer_ = false;
    uint64_t deferred_ = 0;               // number of the last answer that was put off
    bool isAbandoned_ = false;            // nobody will read an answer
    std::unique_ptr<FrameWriter> unsent_; // an answer that the socket had no room for
};

} // namespace vesk::host
