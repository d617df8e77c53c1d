// The sending half of the message library.
#include "message/connection_pool.h"
#include "message/frame.h"
#include "message/report.h"
#include "message/task.h"
#include "vesk_host/message.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace vesk::host {

namespace {

using Answer = std::unique_ptr<OsMsgEnvelope, decltype(&std::free)>;

/// The endpoint that a message goes to, or a HostMsgResult.
struct Address {
    std::string endpoint;
    uint32_t error = 0;
};

Address AddressOf(const OsMsgEnvelope* envelope)
{
    if (envelope == nullptr || (envelope->data == nullptr && envelope->dataLen != 0))
        return {{}, HOST_MSG_ERR_ARGUMENT};
    const std::string_view procName = NameText(envelope->recvProcName);
    const std::string_view taskName = NameText(envelope->recvTaskName);
    auto endpoint = EndpointName(procName, taskName);
    if (!endpoint) {
        Report(kReportError, "message %u cannot be sent to process '%.*s' task '%.*s'", envelope->msgId,
               static_cast<int>(procName.size()), procName.data(), static_cast<int>(taskName.size()),
               taskName.data());
        return {{}, HOST_MSG_ERR_ARGUMENT};
    }
    if (envelope->dataLen > kMaxDataLen) {
        Report(kReportError, "message %u to %s has %u bytes of data, more than %u", envelope->msgId,
               endpoint->c_str(), envelope->dataLen, kMaxDataLen);
        return {{}, HOST_MSG_ERR_TOO_LONG};
    }
    return {std::move(*endpoint), 0};
}

/// Returns 0, HOST_MSG_ERR_BROKEN or HOST_MSG_ERR_TIMEOUT.
uint32_t WriteAll(int socket, const OsMsgEnvelope& envelope, const Deadline& deadline)
{
    FrameWriter writer(envelope);
    for (;;) {
        const FrameWriter::Progress progress = writer.WriteSome(socket);
        if (progress != FrameWriter::Progress::kNoRoom)
            return progress == FrameWriter::Progress::kDone ? 0 : HOST_MSG_ERR_BROKEN;
        if (!WaitFor(socket, POLLOUT, deadline))
            return HOST_MSG_ERR_TIMEOUT;
    }
}

/**
 * Writes without waiting for the receiver: drops a message that there is no room for, and one that has begun
 * to leave when there is no room for the rest within a moment.
 *
 * @return 0, HOST_MSG_ERR_BROKEN or HOST_MSG_ERR_FULL.
 */
uint32_t HandOver(int socket, FrameWriter& writer)
{
    constexpr std::chrono::milliseconds kMoment(20);
    for (;;) {
        const FrameWriter::Progress progress = writer.WriteSome(socket);
        if (progress != FrameWriter::Progress::kNoRoom)
            return progress == FrameWriter::Progress::kDone ? 0 : HOST_MSG_ERR_BROKEN;
        if (!writer.HasBegun() || !WaitFor(socket, POLLOUT, Deadline(kMoment)))
            return HOST_MSG_ERR_FULL;
    }
}

/// Reads exactly @p size bytes. Returns 0, HOST_MSG_ERR_BROKEN or HOST_MSG_ERR_TIMEOUT.
uint32_t ReadAll(int socket, void* buffer, size_t size, const Deadline& deadline)
{
    auto* position = static_cast<std::byte*>(buffer);
    while (size != 0) {
        const ssize_t got = recv(socket, position, size, MSG_DONTWAIT);
        if (got > 0) {
            position += got;
            size -= static_cast<size_t>(got);
        } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
            return HOST_MSG_ERR_BROKEN;
        } else if (!WaitFor(socket, POLLIN, deadline)) {
            return HOST_MSG_ERR_TIMEOUT;
        }
    }
    return 0;
}

uint32_t ReadAnswer(int socket, uint32_t msgId, const Deadline& deadline, Answer& answer)
{
    FrameHead head;
    if (const uint32_t error = ReadAll(socket, &head, sizeof head, deadline); error != 0)
        return error;
    const OsMsgEnvelope envelope = head.Envelope();
    if (!head.IsValid() || envelope.msgId != msgId)
        return HOST_MSG_ERR_MALFORMED;
    answer.reset(static_cast<OsMsgEnvelope*>(std::malloc(sizeof envelope + envelope.dataLen)));
    if (answer == nullptr)
        return HOST_MSG_ERR_SYSTEM;
    *answer = envelope;
    if (envelope.dataLen != 0) {
        answer->data = answer.get() + 1;
        return ReadAll(socket, answer->data, envelope.dataLen, deadline);
    }
    return 0;
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
        return "could not be reached";
    }
}

} // namespace

} // namespace vesk::host

using namespace vesk::host;

uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t timeoutMs)
{
    const Deadline deadline{std::chrono::milliseconds(timeoutMs)};
    if (response == nullptr)
        return HOST_MSG_ERR_ARGUMENT;
    const Address address = AddressOf(envelope);
    if (address.error != 0)
        return address.error;
    BindTasksUnder(NameText(envelope->sendProcName));

    EndpointResult peer = ConnectionPool::Instance().Take(address.endpoint, deadline);
    if (peer.error != 0)
        return peer.error;
    const int socket = peer.socket.Get();
    OsMsgEnvelope sent = *envelope;
    sent.type = OS_MSG_SYNCHRONOUS;
    Answer answer(nullptr, &std::free);
    uint32_t error = WriteAll(socket, sent, deadline);
    if (error == 0)
        error = ReadAnswer(socket, envelope->msgId, deadline, answer);
    // A connection that failed, or on which more than the answer has arrived, is never used again: a late
    // answer is lost with it.
    if (error == 0 && IsSilent(socket))
        ConnectionPool::Instance().GiveBack(address.endpoint, std::move(peer.socket));
    else if (char byte; error == 0 && recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0)
        error = HOST_MSG_ERR_MALFORMED;
    if (error != 0) {
        Report(kReportError, "message %u: %s %s", envelope->msgId, address.endpoint.c_str(), Words(error));
        return error;
    }
    *response = answer.release();
    return 0;
}

void OsMsgSynRespFree(OsMsgEnvelope* response)
{
    std::free(response);
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope)
{
    const Address address = AddressOf(envelope);
    if (address.error != 0)
        return address.error;
    BindTasksUnder(NameText(envelope->sendProcName));

    EndpointResult peer = ConnectionPool::Instance().Take(address.endpoint, std::nullopt);
    if (peer.error != 0)
        return peer.error;
    OsMsgEnvelope sent = *envelope;
    sent.type = OS_MSG_ASYNCHRONOUS;
    FrameWriter writer(sent);
    const uint32_t error = HandOver(peer.socket.Get(), writer);
    if (error == 0 || (error == HOST_MSG_ERR_FULL && !writer.HasBegun()))
        ConnectionPool::Instance().GiveBack(address.endpoint, std::move(peer.socket));
    if (error != 0)
        Report(kReportError, "message %u dropped: %s %s", envelope->msgId, address.endpoint.c_str(),
               Words(error));
    return error;
}
