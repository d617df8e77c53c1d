// A message that steers the virtual device, as its bytes.
#pragma once

#include "base/bytes.h"
#include "vesk_service/control.h"

#include <cstdint>
#include <initializer_list>
#include <string>

namespace vesk::steering {

struct ControlMessage {
    uint32_t number; ///< A VeskControlRequest.
    Bytes data;      ///< Header and payload.
};

/// Arguments in the header.
struct Arguments {
    uint16_t sub = 0;
    uint64_t param1 = 0;
};

/// Puts a message together. @throw Error if it is longer than a message can be
ControlMessage MakeMessage(uint32_t number, Arguments arguments,
                           std::initializer_list<BytesView> payload = {});

/// Puts the name of an application into its field. @p option, where it was given, names it in the error.
/// @throw Error if no application can have it
void StoreApplication(char (&field)[16], const std::string& name, const std::string& option);

} // namespace vesk::steering
