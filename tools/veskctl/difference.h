// How two messages differ that should be alike.
#pragma once

#include "decoder/decoder.h"

namespace vesk::ctl {

/// A value that was recorded and the one that has come instead.
struct Difference {
    std::string field;
    std::string recorded;
    std::string replayed;
};

/// In place of a value, or of what is not made of fields.
inline constexpr char kAbsent[] = "not there";
inline constexpr char kPresent[] = "there";

/// Compares two messages field by field, but for values that tell of the moment at which they were asked for.
std::vector<Difference> Differences(const decoder::Decoder& decoder, const decoder::Decoded& recorded,
                                    const decoder::Decoded& replayed);

} // namespace vesk::ctl
