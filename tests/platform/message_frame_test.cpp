// How a message travels: what fits a packet, and what is kept of it.
#include "platform/message_fixture.h"

#include <cstring>

TEST(HostMessage, PacketsFitASocketsBufferAndKeptDataIsSentLater)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    const UniqueFd from([&] { return ends[0]; }), to([&] { return ends[1]; });
    const int size = 16384; // which the kernel doubles
    ASSERT_EQ(setsockopt(from.Get(), SOL_SOCKET, SO_SNDBUF, &size, sizeof size), 0);
    std::string data(kMaxDataLen, '\0'), received(kMaxDataLen, '\0');
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 2654435761U >> 24U);
    const std::string expected = data;
    OsMsgEnvelope envelope{};
    envelope.data = data.data();
    envelope.dataLen = kMaxDataLen;
    FrameWriter begun(envelope, 1);
    EXPECT_EQ(begun.WriteSome(from.Get()), FrameWriter::Progress::kNoRoom);
    begun.KeepData();
    FrameWriter writer = std::move(begun);
    data.assign(data.size(), 'x');
    FirstPacket first;
    ASSERT_EQ(recv(to.Get(), &first, sizeof first, 0), ssize_t(sizeof first.head));
    EXPECT_TRUE(first.IsValid(sizeof first.head));
    size_t count = 0;
    while (count < received.size() && writer.WriteSome(from.Get()) != FrameWriter::Progress::kBroken) {
        ssize_t got = 0;
        while ((got = recv(to.Get(), &received[count], received.size() - count, 0)) > 0)
            count += static_cast<size_t>(got);
    }
    EXPECT_TRUE(received == expected);
    EXPECT_EQ(writer.WriteSome(from.Get()), FrameWriter::Progress::kDone);
    // However full the buffer, a message that fits a packet leaves whole or not at all.
    envelope.dataLen = 10000;
    for (int small = 0; small < 60; ++small) {
        for (int i = 0; i < small; ++i)
            send(from.Get(), expected.data(), 500, 0);
        FrameWriter next(envelope, 2);
        const bool isDone = next.WriteSome(from.Get()) == FrameWriter::Progress::kDone;
        EXPECT_EQ(next.HasBegun(), isDone) << small;
        while (recv(to.Get(), received.data(), received.size(), 0) > 0) {
        }
    }
}
