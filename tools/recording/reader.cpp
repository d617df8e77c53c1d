// Reads recordings, whole or as they grow.
#include "tools/recording/reader.h"

#include "base/error.h"
#include "base/file.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vesk::recording {

namespace {

constexpr uint32_t kMaxBlock = kMaxData + 65536;
constexpr size_t kMaxInterfaces = 65536;
constexpr size_t kMinBlock = 12; ///< Type, size, and the size again.

/// True if a file has become shorter than what was read of it.
bool IsBeyondEnd(int file)
{
    struct stat status;
    return fstat(file, &status) == 0 && lseek(file, 0, SEEK_CUR) > status.st_size;
}

/// False if reading would wait.
bool HasMore(int file)
{
    pollfd state{file, POLLIN, 0};
    return poll(&state, 1, 0) != 0;
}

} // namespace

decoder::Message Event::Message() const
{
    using decoder::Direction;
    return {kind == Kind::kRequest  ? Direction::kRequest
            : kind == Kind::kAnswer ? Direction::kAnswer
                                    : Direction::kNotification,
            number, data};
}

/// Reads numbers of the section's byte order. Whoever asks has made sure that there is enough.
class Reader::Cursor {
public:
    Cursor(BytesView bytes, bool isBigEndian) : rest_(bytes), isBigEndian_(isBigEndian) {}

    template <class Number>
    Number Take()
    {
        Number number;
        std::memcpy(&number, Take(sizeof number).data(), sizeof number);
        if (!isBigEndian_)
            return number;
        if constexpr (sizeof number == 2)
            return static_cast<Number>(__builtin_bswap16(static_cast<uint16_t>(number)));
        else if constexpr (sizeof number == 4)
            return static_cast<Number>(__builtin_bswap32(static_cast<uint32_t>(number)));
        else
            return static_cast<Number>(__builtin_bswap64(static_cast<uint64_t>(number)));
    }

    BytesView Take(size_t size)
    {
        const BytesView taken = rest_.first(size);
        rest_ = rest_.subspan(size);
        return taken;
    }

    size_t Left() const { return rest_.size(); }

    /// The next option of a block; nothing at their end, which a block may leave out.
    std::optional<std::pair<uint16_t, BytesView>> TakeOption()
    {
        if (Left() < 4)
            return std::nullopt;
        const auto code = Take<uint16_t>();
        const size_t size = Take<uint16_t>();
        if (code == kEndOfOptions || size > Left())
            return std::nullopt;
        const BytesView value = Take(size);
        Take(std::min(Left(), -size & 3));
        return std::pair(code, value);
    }

private:
    BytesView rest_;
    bool isBigEndian_;
};

void Reader::Feed(BytesView bytes)
{
    const size_t skipped = std::min<uint64_t>(toSkip_, bytes.size());
    toSkip_ -= skipped;
    offset_ += skipped;
    bytes = bytes.subspan(skipped);
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<ptrdiff_t>(used_));
    used_ = 0;
    pending_.insert(pending_.end(), bytes.begin(), bytes.end());
}

void Reader::Fail(const std::string& what) const
{
    throw Error("offset " + std::to_string(offset_) + ": " + what);
}

std::optional<Event> Reader::Next()
{
    if (std::exchange(hasFailed_, true)) // until this call has succeeded
        return std::nullopt;
    std::optional<Event> event;
    while (!event) {
        const BytesView bytes = BytesView(pending_).subspan(used_);
        if (bytes.size() < kMinBlock)
            break;
        uint32_t type;
        std::memcpy(&type, bytes.data(), sizeof type); // a section's reads the same in both byte orders
        if (type == kSectionBlock) {
            uint32_t magic;
            std::memcpy(&magic, &bytes[8], sizeof magic);
            if (magic != kByteOrderMagic && magic != __builtin_bswap32(kByteOrderMagic))
                Fail("a section without the byte order of pcapng");
            isBigEndian_ = magic != kByteOrderMagic;
            hasSection_ = true;
        } else if (!hasSection_) {
            Fail("not a pcapng file");
        }
        Cursor cursor(bytes, isBigEndian_);
        type = cursor.Take<uint32_t>();
        const auto size = cursor.Take<uint32_t>();
        if (size < kMinBlock || size % 4 != 0)
            Fail("a block cannot have " + std::to_string(size) + " bytes");
        const bool isRead = type == kSectionBlock || type == kInterfaceBlock || type == kPacketBlock;
        if (isRead && size > kMaxBlock)
            Fail("a block of " + std::to_string(size) + " bytes is too long for a recording");
        if (!isRead) {
            const size_t here = std::min<size_t>(size, bytes.size());
            used_ += here;
            offset_ += here;
            toSkip_ = size - here;
            continue;
        }
        if (bytes.size() < size)
            break;
        if (Cursor(bytes.subspan(size - 4), isBigEndian_).Take<uint32_t>() != size)
            Fail("a block of " + std::to_string(size) + " bytes does not end as it begins");
        event = ReadBlock(type, bytes.subspan(8, size - kMinBlock));
        used_ += size;
        offset_ += size;
    }
    hasFailed_ = false;
    if (event)
        ++events_;
    return event;
}

void Reader::Finish() const
{
    if (used_ != pending_.size() || toSkip_ != 0)
        throw Error("offset " + std::to_string(offset_) + ": the file ends in the middle of a block");
    if (!hasSection_)
        throw Error("the file is empty");
    if (events_ == 0 && foreign_ != 0)
        throw Error("none of its " + std::to_string(foreign_) + " packets is a message of the service");
}

std::optional<Event> Reader::ReadBlock(uint32_t type, BytesView body)
{
    if (type == kSectionBlock) {
        interfaces_.clear();
        return std::nullopt;
    }
    if (type == kPacketBlock)
        return ReadPacket(body);
    if (interfaces_.size() == kMaxInterfaces)
        Fail("more than " + std::to_string(kMaxInterfaces) + " interfaces");
    interfaces_.push_back(ReadInterface(body));
    return std::nullopt;
}

Reader::Interface Reader::ReadInterface(BytesView body) const
{
    if (body.size() < 8)
        Fail("an interface of " + std::to_string(body.size()) + " bytes");
    Interface interface;
    Cursor cursor(body, isBigEndian_);
    interface.isOurs = cursor.Take<uint16_t>() == kLinkType;
    cursor.Take(6);
    while (const auto option = cursor.TakeOption()) {
        const auto& [code, value] = *option;
        if (code == kTimeOffset && value.size() == 8)
            interface.offsetSeconds = Cursor(value, isBigEndian_).Take<int64_t>();
        if (code != kTimeResolution || value.size() != 1)
            continue;
        const auto resolution = std::to_integer<unsigned>(value[0]);
        const unsigned exponent = resolution & 0x7f;
        const bool isBinary = (resolution & 0x80) != 0;
        if (exponent > (isBinary ? 63U : 19U))
            Fail("an interface with a time resolution of " + std::to_string(resolution));
        interface.unitsPerSecond = isBinary ? uint64_t{1} << exponent : 1;
        for (unsigned i = 0; !isBinary && i < exponent; ++i)
            interface.unitsPerSecond *= 10;
    }
    return interface;
}

uint64_t Reader::Nanoseconds(const Interface& from, uint64_t units) const
{
    constexpr uint64_t kPerSecond = 1000000000;
    const uint64_t seconds = units / from.unitsPerSecond + static_cast<uint64_t>(from.offsetSeconds);
    const long double part = static_cast<long double>(units % from.unitsPerSecond);
    return seconds * kPerSecond +
           static_cast<uint64_t>(part * kPerSecond / static_cast<long double>(from.unitsPerSecond));
}

std::optional<Event> Reader::ReadPacket(BytesView body)
{
    constexpr size_t kStart = sizeof(PacketStart) - 8; // type and size of the block are already read
    if (body.size() < kStart)
        Fail("a packet of " + std::to_string(body.size()) + " bytes");
    Cursor cursor(body, isBigEndian_);
    const auto interface = cursor.Take<uint32_t>();
    const uint64_t high = cursor.Take<uint32_t>();
    const uint64_t time = high << 32 | cursor.Take<uint32_t>();
    const size_t size = cursor.Take<uint32_t>();
    cursor.Take<uint32_t>();
    if (size > cursor.Left())
        Fail("a packet of " + std::to_string(size) + " bytes in a block that holds " +
             std::to_string(cursor.Left()));
    if (interface >= interfaces_.size())
        Fail("a packet of interface " + std::to_string(interface) + ", of which there are " +
             std::to_string(interfaces_.size()));
    const BytesView packet = cursor.Take(size);
    cursor.Take(std::min(cursor.Left(), -size & 3));
    if (!interfaces_[interface].isOurs || size < sizeof kDissectorTag ||
        std::memcmp(packet.data(), kDissectorTag, sizeof kDissectorTag) != 0) {
        ++foreign_;
        return std::nullopt;
    }
    Event event = ReadEvent(packet.subspan(sizeof kDissectorTag));
    event.realtimeNs = Nanoseconds(interfaces_[interface], time);
    while (const auto option = cursor.TakeOption()) {
        if (option->first == kComment)
            event.comment.assign(reinterpret_cast<const char*>(option->second.data()), option->second.size());
    }
    return event;
}

Event Reader::ReadEvent(BytesView packet) const
{
    Head head;
    if (packet.size() < sizeof head)
        Fail("a message whose head has " + std::to_string(packet.size()) + " bytes instead of " +
             std::to_string(sizeof head));
    std::memcpy(&head, packet.data(), sizeof head);
    if (head.version != kVersion)
        Fail("a message in version " + std::to_string(head.version) + " of the format; only version " +
             std::to_string(kVersion) + " is known");
    if (head.headSize < sizeof head || head.headSize > packet.size() || head.kind > Kind::kDone)
        Fail("a message with a garbled head");
    const BytesView data = packet.subspan(head.headSize);
    if (!data.empty() && data.size() != head.dataLen)
        Fail("a message of " + std::to_string(head.dataLen) + " bytes of which " +
             std::to_string(data.size()) + " are there");
    Event event;
    event.kind = head.kind;
    event.isSent = (head.flags & kSent) != 0;
    event.isSynchronous = (head.flags & kSynchronous) != 0;
    event.process = head.process;
    event.thread = head.thread;
    event.program = TextIn(head.program);
    event.exchange = head.exchange;
    event.monotonicNs = head.monotonicNs;
    event.durationNs = head.durationNs;
    event.platformResult = head.platformResult;
    event.number = head.number;
    event.dataLen = head.dataLen;
    event.timeoutMs = head.timeoutMs;
    event.sendProcName = TextIn(head.sendProcName);
    event.sendTaskName = TextIn(head.sendTaskName);
    event.recvProcName = TextIn(head.recvProcName);
    event.recvTaskName = TextIn(head.recvTaskName);
    event.data.assign(data.begin(), data.end());
    return event;
}

void ReadFile(const std::string& path, const std::function<void(Event&&)>& onEvent, const OnRead& onRead,
              const std::function<bool()>& awaitMore)
{
    const Descriptor opened = OpenInput(path);
    const int file = opened.Get();
    try {
        struct stat status {};
        const bool isFile = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
        const auto size = isFile && !awaitMore ? static_cast<uint64_t>(status.st_size) : 0;
        uint64_t done = 0;
        uint64_t events = 0;
        Reader reader;
        std::vector<std::byte> bytes(65536);
        for (;;) {
            if (awaitMore && !HasMore(file)) {
                if (!awaitMore())
                    return;
                continue;
            }
            const ssize_t got = read(file, bytes.data(), bytes.size());
            if (got < 0)
                throw Error(std::strerror(errno));
            if (got == 0 && (!awaitMore || !isFile || !awaitMore()))
                break;
            if (got == 0 && IsBeyondEnd(file)) {
                lseek(file, 0, SEEK_SET);
                reader = Reader();
            }
            reader.Feed(BytesView(bytes).first(static_cast<size_t>(got)));
            for (; std::optional<Event> event = reader.Next(); ++events)
                onEvent(std::move(*event));
            done += static_cast<uint64_t>(got);
            if (onRead)
                onRead(done, size, events);
        }
        if (!awaitMore)
            reader.Finish();
    } catch (const Error& error) {
        throw Error(path + ": " + error.what());
    }
}

} // namespace vesk::recording
