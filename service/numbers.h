// Which numbers clients get for what they open and create.
#pragma once

#include <cstdint>
#include <optional>

namespace vesk::service {

/// The kinds of things that have a range of numbers each, so that a number of another kind is refused: the
/// lowest number of each. UVC streams have none, as the library bounds their numbers.
enum class Numbering : uint32_t {
    kInputEngines = 1000,
    kOutputEngines = 2000,
    kEncoders = 3000,
    kDecoders = 4000,
    kLoops = 5000,
    kRemoteMice = 6000,
    kLocalMice = 7000,
};

inline constexpr uint32_t kRangeSize = 1000;

struct NumberRange {
    uint32_t lowest = 0;
    uint32_t first = 0; ///< What is handed out first, counted from the lowest.
};

/// Chooses the numbers that are handed out first. Without one, it is the second of each range: 1001, 2001 ...
using NumberSeed = std::optional<uint32_t>;

/// The same on every machine.
NumberRange RangeOf(Numbering kind, NumberSeed seed);

} // namespace vesk::service
