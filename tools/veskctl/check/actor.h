// A client of the service in a test.
#pragma once

#include "decoder/decoder.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/remote_client.h"

#include <deque>
#include <map>

namespace vesk::ctl::check {

class Trial;
struct Thing;

/// What came of a request.
struct Reply : Call {
    /// The platform's result if that is not 0, else the service's; 0 of a request without an answer.
    uint32_t Result() const;
    bool IsOk() const { return Result() == VESK_VIDEO_OK; }
    /// The service refused it. False if there was no answer at all.
    bool IsRefused() const;
    /// What follows the answer's header.
    BytesView Payload() const;
    /// A field of the answer by its path; 0 if there is none.
    uint64_t Number(std::string_view path) const;
    /// "OK", "BUSY (0x204)", "no answer: HOST_MSG_ERR_TIMEOUT (...)"
    std::string Text() const;
};

/// A notification that has arrived.
struct Notified {
    decoder::Decoded message;
    Arrived arrived;

    uint32_t Number() const { return arrived.number; }
    /// A field by its path, a negative one as its two's complement; nothing if it has none that is a number.
    std::optional<uint64_t> Field(std::string_view path) const;
};

/**
 * A client in a process of its own. All that it sends and gets is kept for the trial's report.
 *
 * A line of words is a request by name and its fields, as in a script of "veskctl run":
 * "VO_START outEngNo=$outEngNo". A variable stands for a number that this client was given or, if it has
 * none, for one that it now asks for: it opens or creates such a thing, and first whatever that needs. See
 * things.h for what there is.
 */
class Actor {
public:
    /// @param name  As the service is to know it; empty: one that no other client has.
    Actor(Trial& trial, const std::string& name);
    /// As a client that exits, unless it has been killed.
    ~Actor();
    Actor(const Actor&) = delete;

    const std::string& Name() const { return client_.Name(); }
    pid_t Process() const { return client_.Process(); }
    /// Whether it sends EXIT when it ends.
    bool WillExit() const { return willExit_ && Process() > 0; }

    /// The line of INIT with the names of this client.
    std::string InitLine() const;
    /// Sends it; it must succeed. @throw Unmet; Gone if there is no answer
    void Announce();

    Reply Send(const std::string& line);
    /// Sends any bytes as a request; those of a header are first.
    Reply Send(uint32_t number, BytesView data, uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT);
    /// Sends what must succeed so that the case is worth trying. @throw NotTried
    Reply Need(const std::string& line);

    /// Sends what must come before a request so that it succeeds, and returns header and payload of one that
    /// does; without the last thing that it needs, of one that comes too early. @throw NotTried if something
    /// before it fails
    enum class Needs { kAll, kAllButLast };
    Bytes Example(const messages::Request& request, Needs needs = Needs::kAll);

    /// The number of this client's thing, which is created if there is none yet. @throw NotTried
    uint64_t The(const std::string& variable);
    /// Creates a thing, which takes the place of the one that this client had, and returns the last reply;
    /// that may be a refusal. @throw NotTried if something before it fails
    Reply TryCreate(const Thing& thing);
    /// Forgets it; the next that is asked for is another.
    void Forget(const std::string& variable) { variables_.erase(variable); }
    void Set(const std::string& variable, uint64_t value) { variables_[variable] = value; }
    bool Has(const std::string& variable) const { return variables_.contains(variable); }

    /// Takes the next notification that @p isWanted; those that come before it stay. Nothing if none comes in
    /// time.
    using Wanted = std::function<bool(const Notified&)>;
    std::optional<Notified> Await(const Wanted& isWanted, std::chrono::milliseconds longest);
    std::optional<Notified> Await(uint32_t number, std::chrono::milliseconds longest);
    /// Takes all that come in a time, which passes, and those that were not taken before.
    std::vector<Notified> TakeAll(std::chrono::milliseconds wait);

    /// Sends without waiting; Finish returns what came of it. Meanwhile other clients can send.
    void Begin(uint32_t number, BytesView data, uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT);
    Reply Finish();
    /// True if Finish returns at once.
    bool HasAnswered() const { return client_.HasAnswered(std::chrono::milliseconds(0)); }
    /// Sends the same request many times, one after another, and returns how long each took, in milliseconds;
    /// negative if it was not answered with OK. These messages are in no report.
    void BeginMany(uint32_t number, BytesView data, size_t count,
                   uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT);
    std::vector<float> FinishMany();

    /// As an application that ends without EXIT.
    void End();
    /// As if the application were killed, or did not get to run.
    void Kill();
    void Pause();
    void Resume();

    /// Header and payload of a line. @throw NotTried if a variable cannot be had
    Prepared Encode(const std::string& line);

private:
    /// @throw NotTried unless people may notice what the request does, if they can.
    void RequireUnnoticed(uint32_t number, BytesView data) const;
    void Receive(std::chrono::milliseconds longest);
    std::string Substituted(std::string_view& rest);

    Trial& trial_;
    RemoteClient client_;
    std::map<std::string, uint64_t> variables_;
    std::deque<Notified> arrived_;
    std::optional<Prepared> begun_;
    bool isBusy_ = false; ///< With many requests, which it does not break off by itself.
    bool willExit_ = false;
};

} // namespace vesk::ctl::check
