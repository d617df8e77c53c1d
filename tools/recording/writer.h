// Appends blocks to a recording. For the tracer: it needs libc alone, allocates nothing, takes no lock and is
// no cancellation point.
#pragma once

#include "tools/recording/format.h"

#include <span>
#include <string_view>

namespace vesk::recording {

/**
 * Appends a section header and an interface to an open file. Every process that records begins so. All
 * sections have the same one interface, so a packet may follow any process's section.
 *
 * @param file     Descriptor that is open for appending.
 * @param comment  What the recording process is; cut after 512 bytes.
 * @return 0 or an errno
 */
int AppendSection(int file, std::string_view application, std::string_view comment);

/**
 * Appends a packet in one write. A write that ends early, as on a full disk, is taken back if it is still the
 * end of the file.
 *
 * @param realtimeNs  Nanoseconds since 1970.
 * @param data        Bytes of the message, at most kMaxData.
 * @param comment     Cut after 512 bytes; none if it is empty.
 * @return 0 or an errno; ENOSPC if the write ended early
 */
int AppendPacket(int file, uint64_t realtimeNs, const Head& head, std::span<const std::byte> data,
                 std::string_view comment);

} // namespace vesk::recording
