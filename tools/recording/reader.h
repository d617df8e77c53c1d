// Reads recordings, whole or as they grow.
#pragma once

#include "tools/recording/event.h"

#include <functional>
#include <optional>
#include <vector>

namespace vesk::recording {

/**
 * Takes a recording's bytes in pieces of any size and gives its events. Blocks, interfaces and packets of
 * others are passed over; both byte orders are understood. It holds one block at most.
 */
class Reader {
public:
    /// Takes further bytes.
    void Feed(BytesView bytes);

    /// The next event; nothing if it takes more bytes. @throw Error with the offset if the recording
    /// is garbled or no recording at all; nothing can be read after that.
    std::optional<Event> Next();

    /// To be called at the end of the file. @throw Error if it ends in the middle of a block, or holds
    /// packets, but none of a recording
    void Finish() const;

private:
    struct Interface {
        bool isOurs = false;
        uint64_t unitsPerSecond = 1000000;
        int64_t offsetSeconds = 0;
    };

    class Cursor;

    [[noreturn]] void Fail(const std::string& what) const;
    std::optional<Event> ReadBlock(uint32_t type, BytesView body);
    Interface ReadInterface(BytesView body) const;
    std::optional<Event> ReadPacket(BytesView body);
    Event ReadEvent(BytesView packet) const;
    uint64_t Nanoseconds(const Interface& from, uint64_t units) const;

    std::vector<std::byte> pending_; ///< Bytes from offset_ on.
    size_t used_ = 0;                ///< Of pending_, already read.
    uint64_t offset_ = 0;            ///< In the file, of the block at hand.
    uint64_t toSkip_ = 0;            ///< Bytes of a foreign block that have not arrived yet.
    bool isBigEndian_ = false;
    bool hasSection_ = false;
    bool hasFailed_ = false;
    std::vector<Interface> interfaces_;
    uint64_t events_ = 0;
    uint64_t foreign_ = 0;
};

/// Takes how many bytes of a file are read, of how many (0: not known), and how many events were in them.
using OnRead = std::function<void(uint64_t bytes, uint64_t size, uint64_t events)>;

/// Reads a file and calls @p onEvent for each event, as soon as it is there, and @p onRead now and then; - is
/// standard input. @throw Error that names the file if it cannot be read or is garbled, after the events
/// before that place
///
/// @param awaitMore  Called at the end, and while a pipe is empty; if it returns true, reading goes on with
///                   what the file has got since, from the start if it was emptied. Null: that is the end.
void ReadFile(const std::string& path, const std::function<void(Event&&)>& onEvent,
              const OnRead& onRead = nullptr, const std::function<bool()>& awaitMore = nullptr);

} // namespace vesk::recording
