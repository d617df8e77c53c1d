// Memory that both ends of a connection have mapped.
#include "message/shared_block.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <cstring>

namespace vesk::host {

namespace {

/// Nobody can take its pages away, nor map it for writing any more.
constexpr unsigned kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE;

/// A packet of one byte, and room for a descriptor.
struct DescriptorPacket {
    std::byte byte{};
    iovec place{&byte, 1};
    alignas(cmsghdr) std::byte control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};

    DescriptorPacket()
    {
        message.msg_iov = &place;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = CMSG_LEN(sizeof(int)); // no room for a second one
    }
    DescriptorPacket(const DescriptorPacket&) = delete;
};

} // namespace

SharedBlock::~SharedBlock()
{
    if (!bytes_.empty() && forks_ == ForkCount())
        munmap(bytes_.data(), bytes_.size());
}

SharedBlock SharedBlock::Map(const UniqueFd& file, size_t size, int protection)
{
    SharedBlock block;
    void* const data = mmap(nullptr, size, protection, MAP_SHARED, file.Get(), 0);
    if (data == MAP_FAILED)
        return block;
    madvise(data, size, MADV_DONTFORK); // a forked child connects anew
    block.bytes_ = {static_cast<std::byte*>(data), size};
    return block;
}

std::pair<SharedBlock, UniqueFd> SharedBlock::Make(size_t size)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur < size)
        return {}; // beyond it there would be a signal
    UniqueFd file([] { return memfd_create("vesk-message", MFD_CLOEXEC | MFD_ALLOW_SEALING); });
    // All of it is there before anything is written: what could not be had then would be a signal, too.
    if (!file.IsOpen() || fallocate(file.Get(), 0, 0, static_cast<off_t>(size)) != 0)
        return {};
    SharedBlock block = Map(file, size, PROT_READ | PROT_WRITE);
    if (block.bytes_.empty() || fcntl(file.Get(), F_ADD_SEALS, kSeals) != 0)
        return {};
    return {std::move(block), std::move(file)};
}

SharedBlock SharedBlock::Of(const UniqueFd& file, size_t least, size_t most)
{
    struct stat status {};
    struct statfs system {};
    const int seals = fcntl(file.Get(), F_GET_SEALS);
    // Huge pages, which can be sealed as well, may be wanting when they are read.
    if (seals < 0 || (static_cast<unsigned>(seals) & kSeals) != kSeals || fstatfs(file.Get(), &system) != 0 ||
        system.f_type != TMPFS_MAGIC || fstat(file.Get(), &status) != 0 ||
        std::cmp_less(status.st_size, least) || std::cmp_greater(status.st_size, most) ||
        status.st_blocks * 512 < status.st_size) // it has holes
        return {};
    return Map(file, static_cast<size_t>(status.st_size), PROT_READ);
}

ssize_t SendDescriptor(int socket, const UniqueFd& file)
{
    DescriptorPacket packet;
    cmsghdr* const header = CMSG_FIRSTHDR(&packet.message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    const int descriptor = file.Get();
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    return sendmsg(socket, &packet.message, MSG_DONTWAIT | MSG_NOSIGNAL);
}

UniqueFd ReceiveDescriptor(int socket, ssize_t& got)
{
    return UniqueFd([&] {
        DescriptorPacket packet;
        got = recvmsg(socket, &packet.message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        const cmsghdr* const header = got > 0 ? CMSG_FIRSTHDR(&packet.message) : nullptr;
        int descriptor = -1;
        if (header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS)
            std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
        return descriptor;
    });
}

} // namespace vesk::host
