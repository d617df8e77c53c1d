// What a task receives: its sockets, and the messages read from them that wait for its loop.
#pragma once

#include "platform/os_msg.h"
#include "process/unique_fd.h"

#include <sys/types.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vesk::host {

class Connection;

/// A message that has arrived completely.
struct Message {
    OsMsgEnvelope envelope{};
    uint64_t sequence = 0;
    std::unique_ptr<std::byte[]> data;
    pid_t senderProcess = 0;
    std::shared_ptr<Connection> from; // set when the sender waits for an answer
};

/// A socket of an inbox.
class Watched {
public:
    virtual ~Watched() = default;

    /// Takes in what has arrived. Called by the loop's thread or the reader's.
    virtual void OnReady(uint32_t events) = 0;
    virtual void Close() = 0;
};

/**
 * The thread that runs the task's loop waits for the sockets itself, so that no other thread wakes up between
 * a message and its handler. A reader waits for the same epoll set: of two waiting threads the kernel wakes
 * the one that came last, which is the loop's unless a handler is busy. Then the reader gives it a moment,
 * and after that takes in what has arrived.
 *
 * Locks are taken in the order connection, then inbox or deferred answers.
 */
class Inbox {
public:
    /// Not usable, with errno set, when there is no descriptor for it. Has no reader until its loop runs.
    Inbox();

    bool IsUsable() const { return epoll_.IsOpen() && wake_.IsOpen(); }

    /// How many messages may wait. Their bytes are bounded as well.
    void SetDepth(uint32_t depth);

    /// Watches a socket, edge-triggered, until it is forgotten. Returns its number, 0 on failure with errno.
    uint64_t Watch(int fd, uint32_t events, std::shared_ptr<Watched> watched);
    void Change(int fd, uint32_t events, uint64_t number);
    void Forget(uint64_t number);

    /// Has a socket's OnReady called again, after those of the others that are ready.
    void CallAgain(uint64_t number, uint32_t events);

    /// False when no more messages may wait; the socket's OnReady is called as soon as they may.
    bool HasRoom(uint64_t number);

    void Push(std::unique_ptr<Message> message);

    /// The loop's side: waits for the next message; null when the inbox has ended.
    std::unique_ptr<Message> Next();

    /// The reader's thread: returns when the inbox has ended.
    void TakeInWhileLoopIsBusy();

    /// Closes all sockets, drops what waits, and has the loop and the reader return.
    void End();

private:
    struct Entry {
        std::shared_ptr<Watched> watched;
        uint32_t events = 0; // not zero while its number is in ready_
        bool isStalled = false;
    };
    using Guard = std::unique_lock<std::mutex>;

    void NoteLocked(uint64_t number, uint32_t events);
    void HandleReadyLocked(Guard& guard);
    void WakeLoopLocked();

    UniqueFd epoll_;
    UniqueFd wake_; // an eventfd that ends the loop's wait
    std::mutex lock_;
    std::map<uint64_t, Entry> entries_;
    uint64_t lastNumber_ = 0;
    std::vector<uint64_t> ready_; // never allocates: has room for all entries
    bool hasStalled_ = false;
    std::deque<std::unique_ptr<Message>> waiting_;
    size_t waitingBytes_ = 0;
    uint32_t depth_ = 1;
    bool loopWaits_ = false;
    bool loopIsWoken_ = false; // and has not resumed yet
    std::condition_variable loopResumed_;
    bool hasEnded_ = false;
};

} // namespace vesk::host
