// What requests change beyond the life of the client that sends them, and how it is put back.
#pragma once

#include "decoder/decoder.h"

#include <optional>
#include <string>
#include <vector>

namespace vesk::ctl::check {

class Actor;

/// Takes note of each request that changes the device for good, and puts that back.
class Lasting {
public:
    /// To be called before a request is sent: what it changes is read if it can be.
    void Before(Actor& actor, uint32_t number, BytesView data);
    /// To be called when it has been accepted.
    void Accepted(const decoder::Decoder& decoder, uint32_t number, BytesView data);

    bool IsEmpty() const { return undos_.empty(); }
    /// Puts back what the requests since the last time have changed, the last first, as this client. Returns
    /// the names of the requests that did so.
    std::vector<std::string> PutBack(Actor& actor);

    /// Says of what is to be put back that it cannot be.
    void GiveUp(const std::string& reason);

    /// What the tests leave: what it was before could not be read or put back. Each in a sentence.
    const std::vector<std::string>& Left() const { return left_; }

private:
    struct Undo {
        std::string line; ///< As Actor::Send takes it; empty if the bytes are known,
        uint32_t number = 0;
        Bytes data{}; ///< or if there is nothing that can be done.
        std::string remains;
    };
    std::optional<Undo> read_; ///< Of the request that is being sent.
    bool isReading_ = false;
    std::vector<Undo> undos_;
    std::vector<std::string> left_;

    void Remains(const std::string& what);
};

} // namespace vesk::ctl::check
