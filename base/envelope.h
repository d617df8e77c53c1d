// Envelopes of messages to be sent.
#pragma once

#include "base/bytes.h"
#include "base/text.h"
#include "platform/os_msg.h"

namespace vesk {

/// A task of a process; names of at most 15 characters.
struct Address {
    std::string_view process;
    std::string_view task;
};

/// An asynchronous message. @p data, header and payload, stays the caller's and is only read.
inline OsMsgEnvelope MakeEnvelope(uint32_t number, const Address& from, const Address& to, BytesView data)
{
    OsMsgEnvelope envelope{};
    envelope.msgId = number;
    PutText(envelope.sendProcName, from.process);
    PutText(envelope.sendTaskName, from.task);
    PutText(envelope.recvProcName, to.process);
    PutText(envelope.recvTaskName, to.task);
    envelope.dataLen = static_cast<uint32_t>(data.size());
    envelope.data = const_cast<std::byte*>(data.data());
    return envelope;
}

} // namespace vesk
