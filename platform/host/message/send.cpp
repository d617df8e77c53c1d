// The sending half of the message library.
#include "message/connection_pool.h"
#include "message/frame.h"
#include "message/task.h"
#include "runtime/fork.h"
#include "runtime/report.h"
#include "vesk_host/message.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <thread>
#include <tuple>
#include <utility>

namespace vesk::host {

namespace {

using Answer = std::unique_ptr<OsMsgEnvelope, decltype(&std::free)>;

PerProcess<ConnectionPool> g_connections;
std::atomic<uint64_t> g_lastSequence = 0;

/// The receiver of a message, for a line about it.
std::string Receiver(const OsMsgEnvelope& envelope)
{
    return EndpointName(NameText(envelope.recvProcName), NameText(envelope.recvTaskName)).value_or("");
}

/// Finds a connection for a message that may be sent. Returns 0 or a HostMsgResult.
uint32_t Connect(const OsMsgEnvelope* envelope, const std::optional<Deadline>& deadline, Outgoing& connection)
{
    if (envelope == nullptr || (envelope->data == nullptr && envelope->dataLen != 0))
        return HOST_MSG_ERR_ARGUMENT;
    const EndpointNames to = EndpointNames::ReceiverOf(*envelope);
    BindTasksUnder(NameText(envelope->sendProcName), deadline);
    connection = envelope->dataLen <= kMaxDataLen ? g_connections->Take(to) : Outgoing{};
    if (connection.socket.IsOpen())
        return 0;
    const std::string endpoint = Receiver(*envelope);
    if (endpoint.empty()) {
        Report(kReportError, "message %u cannot be sent to process '%.16s' task '%.16s'", envelope->msgId,
               envelope->recvProcName, envelope->recvTaskName);
        return HOST_MSG_ERR_ARGUMENT;
    }
    if (envelope->dataLen > kMaxDataLen) {
        Report(kReportError, "message %u to %s has %u bytes of data, more than %u", envelope->msgId,
               endpoint.c_str(), envelope->dataLen, kMaxDataLen);
        return HOST_MSG_ERR_TOO_LONG;
    }
    g_connections->CloseDead();
    return ConnectEndpoint(endpoint, deadline, connection.socket, connection.sender);
}

const char* Words(uint32_t error)
{
    switch (error) {
    case HOST_MSG_ERR_TIMEOUT:
        return "did not answer in time";
    case HOST_MSG_ERR_BROKEN:
        return "closed the connection";
    case HOST_MSG_ERR_MALFORMED:
        return "sent a malformed answer";
    case HOST_MSG_ERR_FULL:
        return "is not reading";
    default:
        return "sent an answer that there is no memory for";
    }
}

/**
 * Writes a message. Without a deadline it does not wait for the receiver: it drops a message that there is no
 * room for, and one that has begun to leave when the receiver takes nothing for a while or not all of it in
 * time.
 *
 * @return 0, HOST_MSG_ERR_BROKEN, HOST_MSG_ERR_TIMEOUT or, without a deadline, HOST_MSG_ERR_FULL.
 */
uint32_t Write(int socket, FrameWriter& writer, const std::optional<Deadline>& deadline)
{
    constexpr std::chrono::milliseconds kWhile(200), kInTime(2000); // a loaded machine keeps a reader waiting
    std::optional<Deadline> inTime;
    for (bool hasRoom = true;;) {
        const size_t before = writer.BytesLeft();
        const FrameWriter::Progress progress = writer.WriteSome(socket);
        if (progress != FrameWriter::Progress::kNoRoom)
            return progress == FrameWriter::Progress::kDone ? 0 : HOST_MSG_ERR_BROKEN;
        if (deadline && !hasRoom)
            return HOST_MSG_ERR_TIMEOUT;
        if (!deadline) {
            const bool isStuck = !hasRoom && writer.BytesLeft() == before;
            if (!writer.HasBegun() || isStuck || (inTime && inTime->HasPassed()))
                return HOST_MSG_ERR_FULL;
            if (!inTime)
                inTime.emplace(kInTime);
        }
        // poll() reports room only when three quarters of the buffer are free, so a packet may fit although
        // the wait was in vain.
        hasRoom = WaitFor(socket, POLLOUT, deadline.value_or(Deadline(kWhile)));
    }
}

/// Has the data of a large request go through the block of its connection. If there is no memory for one, it
/// travels in packets.
void UseBlock(uint32_t dataLen, Outgoing& connection, FrameWriter& writer)
{
    UniqueFd descriptor;
    if (connection.block.Bytes().size() < dataLen)
        std::tie(connection.block, descriptor) = SharedBlock::Make(dataLen);
    if (!connection.block.Bytes().empty())
        writer.UseBlock(connection.block, std::move(descriptor));
}

/// Sends a message over a connection that it finds. Returns 0 or a HostMsgResult, after logging the reason.
uint32_t Send(const OsMsgEnvelope* envelope, uint32_t type, uint64_t sequence,
              const std::optional<Deadline>& deadline, Outgoing& connection)
{
    for (;;) {
        if (const uint32_t error = Connect(envelope, deadline, connection); error != 0)
            return error;
        OsMsgEnvelope sent = *envelope;
        sent.type = type;
        FrameWriter writer(sent, sequence, connection.sender);
        if (type == OS_MSG_SYNCHRONOUS && sent.dataLen > kLongestPacket)
            UseBlock(sent.dataLen, connection, writer);
        const uint32_t error = Write(connection.socket.Get(), writer, deadline);
        if (error == 0)
            return 0;
        if (error == HOST_MSG_ERR_BROKEN && connection.isPooled && !writer.HasBegun())
            continue; // its peer has gone, and there may be another by now
        const char* const fate = type == OS_MSG_ASYNCHRONOUS ? " dropped" : "";
        Report(kReportError, "message %u%s: %s %s", sent.msgId, fate, Receiver(sent).c_str(), Words(error));
        if (error != HOST_MSG_ERR_BROKEN && !writer.HasBegun()) {
            connection.block = {}; // its receiver may not have heard of it
            g_connections->GiveBack(std::move(connection));
        }
        return error;
    }
}

/// Reads the answer to one request.
class AnswerReader {
public:
    AnswerReader(Outgoing& connection, uint32_t timeoutMs, const Deadline& deadline)
        : socket_(connection.socket.Get()), deadline_(deadline), waitFlag_(MSG_DONTWAIT)
    {
        // Waiting in recv() itself saves a system call. Its limit is made for the whole time-out, as the
        // socket keeps it from call to call, so this is done only while none of that has passed.
        const int left = deadline.Milliseconds();
        if (left == 0 || static_cast<uint32_t>(left) != timeoutMs)
            return;
        if (connection.waitAtMostMs == left || WaitAtMost(socket_, SO_RCVTIMEO, left)) {
            connection.waitAtMostMs = left;
            waitFlag_ = 0;
        }
    }

    /// Returns 0 or a HostMsgResult. The answer to an earlier request, given twice, is passed over.
    uint32_t Read(uint32_t msgId, uint64_t sequence, Answer& answer)
    {
        uint64_t read = 0;
        for (;;) {
            if (const uint32_t error = ReadMessage(read, answer); error != 0)
                return error;
            if (read >= sequence)
                return read == sequence && answer->msgId == msgId ? 0 : HOST_MSG_ERR_MALFORMED;
        }
    }

private:
    uint32_t ReadMessage(uint64_t& sequence, Answer& answer)
    {
        FirstPacket packet;
        size_t size = 0;
        if (const uint32_t error = Receive(&packet, sizeof packet, size); error != 0)
            return error;
        if (!packet.IsValid(size))
            return HOST_MSG_ERR_MALFORMED;
        sequence = packet.head.sequence;
        const OsMsgEnvelope envelope = packet.head.Envelope();
        answer.reset(static_cast<OsMsgEnvelope*>(std::malloc(sizeof envelope + envelope.dataLen)));
        if (answer == nullptr)
            return HOST_MSG_ERR_SYSTEM;
        *answer = envelope;
        if (envelope.dataLen == 0)
            return 0;
        auto* const data = reinterpret_cast<std::byte*>(answer.get() + 1);
        answer->data = data;
        size -= sizeof packet.head;
        std::copy_n(packet.data.begin(), size, data);
        for (size_t received = size; received < envelope.dataLen; received += size) {
            if (const uint32_t error = Receive(data + received, envelope.dataLen - received, size);
                error != 0)
                return error;
        }
        return 0;
    }

    /// Receives one packet. Returns 0, HOST_MSG_ERR_BROKEN, HOST_MSG_ERR_MALFORMED when it has more than
    /// @p size bytes, or HOST_MSG_ERR_TIMEOUT.
    uint32_t Receive(void* target, size_t size, size_t& received)
    {
        if (!std::exchange(isFirst_, false) && deadline_.HasPassed())
            return HOST_MSG_ERR_TIMEOUT; // a peer may never stop sending
        do {
            const ssize_t result =
                recv(socket_, target, size, MSG_TRUNC | std::exchange(waitFlag_, MSG_DONTWAIT));
            if (result > 0) {
                received = static_cast<size_t>(result);
                return received <= size ? 0 : HOST_MSG_ERR_MALFORMED;
            }
            // When a peer has closed with something unread, that is reported once, before what it had sent.
            if (result == 0 || (errno != EAGAIN && errno != EINTR && errno != ECONNRESET))
                return HOST_MSG_ERR_BROKEN;
        } while (WaitFor(socket_, POLLIN, deadline_));
        return HOST_MSG_ERR_TIMEOUT;
    }

    const int socket_;
    const Deadline& deadline_;
    int waitFlag_;        // of the next recv()
    bool isFirst_ = true; // packet
};

} // namespace

} // namespace vesk::host

using namespace vesk::host;

uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t timeoutMs)
{
    return Contained([&]() -> uint32_t {
        const Deadline deadline{std::chrono::milliseconds(timeoutMs)};
        if (response == nullptr)
            return HOST_MSG_ERR_ARGUMENT;
        Outgoing connection;
        const uint64_t sequence = ++g_lastSequence;
        uint32_t error = Send(envelope, OS_MSG_SYNCHRONOUS, sequence, deadline, connection);
        if (error != 0)
            return error;
        Answer answer(nullptr, &std::free);
        error = AnswerReader(connection, timeoutMs, deadline).Read(envelope->msgId, sequence, answer);
        if (error != 0) {
            // A connection that failed is never used again: a late answer is lost with it.
            Report(kReportError, "message %u: %s %s", envelope->msgId, Receiver(*envelope).c_str(),
                   Words(error));
            return error;
        }
        connection.asyncSender = {}; // what it sent has been read, as this has been answered
        g_connections->GiveBack(std::move(connection));
        *response = answer.release();
        return 0;
    });
}

void OsMsgSynRespFree(OsMsgEnvelope* response)
{
    std::free(response);
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope)
{
    return Contained([&]() -> uint32_t {
        Outgoing connection;
        const uint32_t error =
            Send(envelope, OS_MSG_ASYNCHRONOUS, ++g_lastSequence, std::nullopt, connection);
        if (error == 0) {
            connection.asyncSender = std::this_thread::get_id();
            g_connections->GiveBack(std::move(connection));
        }
        return error;
    });
}
