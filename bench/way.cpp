// The list of the ways.
#include "bench/way.h"

namespace vesk::bench {

std::string Sizes::Text() const
{
    const auto text = [](uint32_t bytes) {
        constexpr uint32_t kMebibyte = 1U << 20;
        return bytes % kMebibyte == 0 ? std::to_string(bytes / kMebibyte) + " MiB" : std::to_string(bytes);
    };
    return text(request) + "/" + text(answer);
}

std::span<const Way> CallWays()
{
    static const Way ways[] = {
        kRawWay,
#ifdef VESK_BENCH_BUS
        kBusWay,
#endif
        kHostWay,
    };
    return ways;
}

const Way& FindWay(const std::string& name)
{
    for (const Way& way : CallWays()) {
        if (name == way.name)
            return way;
    }
    for (const Way* way :
         {&kLibraryWay, &kRawByOneWay, &kOwingHostWay, &kRawNotifications, &kHostNotifications}) {
        if (name == way->name)
            return *way;
    }
    Fail("no way is called '" + name + "'");
}

} // namespace vesk::bench
