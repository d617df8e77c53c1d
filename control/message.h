// A message that steers the virtual device, as its bytes.
#pragma once

#include "decoder/bytes.h"
#include "vesk_service/control.h"

#include <cstdint>
#include <initializer_list>
#include <string>

namespace vesk::control {

using tools::Bytes;
using tools::BytesView;

struct ControlMessage {
    uint32_t number; ///< A VeskControlRequest.
    Bytes data;      ///< Header and payload.
};

/// Arguments in the header.
struct Arguments {
    uint16_t sub = 0;
    uint64_t param1 = 0;
};

/// Puts a message together. @throw tools::Error if it is longer than a message can be
ControlMessage MakeMessage(uint32_t number, Arguments arguments,
                           std::initializer_list<BytesView> payload = {});

template <class Record>
BytesView BytesOf(const Record& record)
{
    return std::as_bytes(std::span(&record, 1));
}

/// Puts the name of an application into its field. @p option, where it was given, names it in the error.
/// @throw tools::Error if no application can have it
void StoreApplication(char (&field)[16], const std::string& name, const std::string& option);

} // namespace vesk::control
