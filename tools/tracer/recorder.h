// Where the tracer's packets go: one file for all threads, and for all processes that are given its name.
#pragma once

#include "platform/os_msg.h"
#include "tools/recording/format.h"

#include <span>
#include <string_view>

namespace vesk::tracer {

/// A message on its way, from its first packet on.
struct TracedExchange {
    uint64_t number = 0;      ///< 0: not recorded
    uint64_t monotonicNs = 0; ///< When it began.
};

/// What a packet is about.
struct Packet {
    recording::Kind kind;
    uint8_t flags;                ///< Of recording::Head.
    const OsMsgEnvelope* routing; ///< Names and number.
    uint32_t dataLen = 0;
    const void* data = nullptr;
    uint32_t timeoutMs = 0;
    uint32_t platformResult = 0;
};

/**
 * Records the first packet of an exchange.
 *
 * Recording takes no lock and leaves errno alone. The file is opened for the first packet, at the path that
 * VESK_TRACE_FILE had when the process started, and again if the application has closed it; a file that has
 * got its number since is left alone. If it cannot be written, one line on standard error says so, and
 * nothing is recorded from then on.
 */
TracedExchange Begin(const Packet& packet);

/// Records a further packet of an exchange, with the time that has passed; nothing if the exchange is not
/// recorded.
void Continue(const TracedExchange& exchange, const Packet& packet, std::string_view comment = {});

/// Records what is no message.
void Note(std::string_view comment);

/// Writes one line to standard error, in the tracer's name.
__attribute__((format(printf, 1, 2))) void Say(const char* format, ...);

} // namespace vesk::tracer
