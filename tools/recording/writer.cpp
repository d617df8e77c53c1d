// Appends blocks to a recording.
#include "tools/recording/writer.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vesk::recording {

namespace {

constexpr size_t Padded(size_t size)
{
    return (size + 3) & ~size_t{3};
}

/// A block, or its beginning or end, under construction. Its contents must fit.
class Buffer {
public:
    void Put(const void* data, size_t size)
    {
        if (size != 0) // data may be null then
            std::memcpy(bytes_ + size_, data, size);
        size_ += size;
    }

    template <class Value>
    void Put(const Value& value)
    {
        Put(&value, sizeof value);
    }

    void Pad(size_t size)
    {
        std::memset(bytes_ + size_, 0, size);
        size_ += size;
    }

    void PutOption(uint16_t code, std::string_view value)
    {
        Put(code);
        Put(static_cast<uint16_t>(value.size()));
        Put(value.data(), value.size());
        Pad(Padded(value.size()) - value.size());
    }

    /// Ends the block that begins at @p begin, of which @p elsewhere bytes are not in this buffer.
    void EndBlock(size_t begin, size_t elsewhere = 0)
    {
        const auto size = static_cast<uint32_t>(size_ - begin + elsewhere + sizeof(uint32_t));
        std::memcpy(bytes_ + begin + sizeof(uint32_t), &size, sizeof size);
        Put(size);
    }

    void* At(size_t offset) { return bytes_ + offset; }
    size_t Size() const { return size_; }

private:
    std::byte bytes_[4096];
    size_t size_ = 0;
};

std::string_view Cut(std::string_view text)
{
    return text.substr(0, 512);
}

/// One write. The system call itself: libc's function would be a cancellation point.
int Append(int file, iovec* parts, int count)
{
    size_t size = 0;
    for (int i = 0; i < count; ++i)
        size += parts[i].iov_len;
    const long written = count == 1 ? syscall(SYS_write, file, parts[0].iov_base, size)
                                    : syscall(SYS_writev, file, parts, count);
    if (written == static_cast<long>(size))
        return 0;
    if (written < 0)
        return errno;
    struct stat status;
    const off_t end = lseek(file, 0, SEEK_CUR);
    if (end >= written && fstat(file, &status) == 0 && status.st_size == end)
        (void)!ftruncate(file, end - written);
    return ENOSPC;
}

} // namespace

int AppendSection(int file, std::string_view application, std::string_view comment)
{
    Buffer buffer;
    buffer.Put(kSectionBlock);
    buffer.Put(uint32_t{0});
    buffer.Put(kByteOrderMagic);
    buffer.Put(uint16_t{1}); // version 1.0 of pcapng
    buffer.Put(uint16_t{0});
    buffer.Put(int64_t{-1}); // the section's length is not known
    buffer.PutOption(kApplication, Cut(application));
    buffer.PutOption(kComment, Cut(comment));
    buffer.PutOption(kEndOfOptions, {});
    buffer.EndBlock(0);

    const size_t interface = buffer.Size();
    buffer.Put(kInterfaceBlock);
    buffer.Put(uint32_t{0});
    buffer.Put(kLinkType);
    buffer.Put(uint16_t{0});
    buffer.Put(uint32_t{0}); // packets of any length
    buffer.PutOption(kInterfaceName, "vesk");
    buffer.PutOption(kTimeResolution, "\x09"); // nanoseconds
    buffer.PutOption(kEndOfOptions, {});
    buffer.EndBlock(interface);

    iovec part{buffer.At(0), buffer.Size()};
    return Append(file, &part, 1);
}

int AppendPacket(int file, uint64_t realtimeNs, const Head& head, std::span<const std::byte> data,
                 std::string_view comment)
{
    const size_t size = sizeof kDissectorTag + sizeof head + data.size();
    const auto packetSize = static_cast<uint32_t>(size);
    Buffer buffer;
    buffer.Put(PacketStart{kPacketBlock, 0, 0, static_cast<uint32_t>(realtimeNs >> 32),
                           static_cast<uint32_t>(realtimeNs), packetSize, packetSize});
    buffer.Put(kDissectorTag, sizeof kDissectorTag);
    buffer.Put(head);
    const bool isCopied = data.size() <= 2048; // one piece is cheaper to write than three
    if (isCopied && !data.empty())
        buffer.Put(data.data(), data.size());
    const size_t cut = buffer.Size();
    buffer.Pad(Padded(size) - size);
    buffer.PutOption(kPacketFlags, {(head.flags & kSent) != 0 ? "\2\0\0" : "\1\0\0", 4});
    if (!comment.empty())
        buffer.PutOption(kComment, Cut(comment));
    buffer.PutOption(kEndOfOptions, {});
    buffer.EndBlock(0, isCopied ? 0 : data.size());
    if (isCopied) {
        iovec part{buffer.At(0), buffer.Size()};
        return Append(file, &part, 1);
    }
    iovec parts[] = {{buffer.At(0), cut},
                     {const_cast<std::byte*>(data.data()), data.size()},
                     {buffer.At(cut), buffer.Size() - cut}};
    return Append(file, parts, 3);
}

} // namespace vesk::recording
