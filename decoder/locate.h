// What the ways into a message share: where its fields lie, and what is said if it has none of a name.
#pragma once

#include "decoder/decoder.h"

namespace vesk::decoder {

/// Where an argument lies.
Place PlaceOf(const Listing& listing, const HeaderArgument& argument);

/// The highest number of entries that a message with an array can have.
size_t MostEntries(const messages::Form& form);

/// The names of a record's fields; none if it is null.
std::vector<std::string_view> FieldNames(const RecordType* record);

/// Says that the message has no field @p path, and what it has: @p known and its arguments.
std::string NoSuchField(const Listing& listing, std::string_view path, std::vector<std::string_view> known);

} // namespace vesk::decoder
