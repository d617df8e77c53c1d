// What a task receives: its sockets, and the messages read from them that wait for its loop.
#pragma once

#include "message/deadline.h"
#include "platform/os_msg.h"
#include "runtime/unique_fd.h"
#include "vesk_host/message.h"

#include <sys/epoll.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace vesk::host {

class Connection;
class Peer;

/// A message that has arrived completely.
struct Message {
    OsMsgEnvelope envelope{};
    uint64_t sequence = 0;
    std::unique_ptr<std::byte[]> data;
    HostProcess sender = 0;
    std::shared_ptr<Connection> from; // set when the sender waits for an answer
    bool isEnd = false;               // of the sender: there is no more to it
};

/// A socket of an inbox.
class Watched {
public:
    virtual ~Watched() = default;

    /// Takes in what has arrived. Called with the inbox's lock held, by the loop's thread or the reader's.
    virtual void OnReady(uint32_t events) = 0;
    virtual void Close() = 0;
};

/**
 * The thread that runs the task's loop waits for the sockets itself, so that no other thread wakes up between
 * a message and its handler. A reader waits for the same epoll set: of two waiting threads the kernel wakes
 * the one that came last, which is the loop's unless a handler is busy. The reader takes in what it is woken
 * for, and then leaves the sockets to the loop for a moment.
 *
 * One lock guards the inbox and the sockets that it watches. The lock of the deferred answers may be taken
 * under it.
 */
class Inbox {
public:
    /// Not usable, with errno set, when there is no descriptor for it. Has no reader until its loop runs.
    Inbox();

    bool IsUsable() const { return epoll_.IsOpen() && wake_.IsOpen(); }

    /// How many messages may wait. Their bytes are bounded as well.
    void SetDepth(uint32_t depth);

    /// The loop's side: waits for the next message; null when the inbox has ended.
    std::unique_ptr<Message> Next();

    /// The reader's thread: returns when the inbox has ended.
    void TakeInWhileLoopIsBusy();

    /// Has the loop's side get a message for the end of each process that sends from now on.
    void TellEnds();

    /// Closes all sockets, drops what waits, and has the loop and the reader return.
    void End();

    /// To be held while the functions below are called.
    std::mutex& Lock() { return lock_; }

    /// Watches a socket, edge-triggered, until it is forgotten. Returns its number, 0 on failure with errno.
    /// Without a descriptor, it is called only as the functions below say.
    static constexpr int kNoDescriptor = -1;
    uint64_t Watch(int fd, uint32_t events, std::shared_ptr<Watched> watched);
    void Change(int fd, uint32_t events, uint64_t number);
    void Forget(uint64_t number) { entries_.erase(number); }

    /// Has a socket's OnReady called again once no message waits.
    void CallAgain(uint64_t number);

    /// The same for a socket that has to stop reading, as there is no room or it has had its share. HasRoom()
    /// is false until those that were put off have been called. This one comes after all others, unless it
    /// keeps a turn that it is having.
    void PutOff(uint64_t number, bool keepsTurn = false);

    /// Has a socket's OnReady called again a tenth of a second later, when no message waits.
    void CallLater(uint64_t number);

    /// Whether another message may wait, and no socket that was put off comes first.
    bool HasRoom() const;

    void Push(std::unique_ptr<Message> message);
    void PushEnd(HostProcess sender);

    bool TellsEnds() const { return tellsEnds_; }

    /// Those whose ends are to be told.
    std::map<HostProcess, std::shared_ptr<Peer>>& Peers() { return peers_; }

private:
    struct Entry {
        std::shared_ptr<Watched> watched;
        std::list<uint64_t> turn; // its number, unless that is in one of the lists below
    };
    using Guard = std::unique_lock<std::mutex>;
    using Events = std::array<epoll_event, 16>;

    int Wait(Guard& guard, Events& events, int timeoutMs);
    void Handle(const Events& events, int count);
    void PutInto(std::list<uint64_t>& list, uint64_t number, bool comesFirst = false);
    void CallInTurn();
    void WakeLoop();

    UniqueFd epoll_;
    UniqueFd wake_; // an eventfd that ends the loop's wait
    std::mutex lock_;
    std::map<uint64_t, Entry> entries_;
    std::map<HostProcess, std::shared_ptr<Peer>> peers_;
    bool tellsEnds_ = false;
    uint64_t lastNumber_ = 0;
    std::list<uint64_t> toBeCalled_;
    bool areSomePutOff_ = false; // of those
    bool isCalling_ = false;     // the first of those, which has left the list
    std::list<uint64_t> later_;
    std::optional<Deadline> laterIsDue_; // when those come to be called; set unless there are none
    std::deque<std::unique_ptr<Message>> waiting_;
    size_t waitingBytes_ = 0;
    uint32_t depth_ = 1;
    bool loopWaits_ = false;
    bool loopIsWoken_ = false; // and has not resumed yet
    bool hasEnded_ = false;
};

} // namespace vesk::host
