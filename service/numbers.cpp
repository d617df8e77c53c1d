// Which numbers clients get for what they open and create.
#include "service/numbers.h"

#include <random>

namespace vesk::service {

NumberRange RangeOf(Numbering kind, NumberSeed seed)
{
    const auto lowest = static_cast<uint32_t>(kind);
    if (!seed)
        return {lowest, 1};
    std::mt19937 draw(*seed); // unlike distributions, the same in every standard library
    draw.discard(lowest / kRangeSize);
    return {lowest, static_cast<uint32_t>(draw() % kRangeSize)};
}

} // namespace vesk::service
