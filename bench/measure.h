// Fair comparison on a machine whose speed varies: contestants take turns of a few milliseconds.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>
#include <vector>

namespace vesk::bench {

inline double SecondsOf(const std::function<void()>& turn)
{
    const auto begin = std::chrono::steady_clock::now();
    turn();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The seconds that each of @p turns took in each round. Every round begins with another one.
inline std::vector<std::vector<double>> Interleave(const std::vector<std::function<void()>>& turns,
                                                   size_t rounds)
{
    std::vector<std::vector<double>> seconds(turns.size(), std::vector<double>(rounds));
    for (const auto& turn : turns)
        turn(); // warms up
    for (size_t round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < turns.size(); ++i) {
            const size_t which = (round + i) % turns.size();
            seconds[which][round] = SecondsOf(turns[which]);
        }
    }
    return seconds;
}

/// The value that @p percent of the others are below.
inline double Percentile(std::vector<double> values, size_t percent)
{
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(values.size() * percent / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

inline double Median(std::vector<double> values)
{
    return Percentile(std::move(values), 50);
}

/// The median of the ratios of each round.
inline double MedianRatio(const std::vector<double>& values, const std::vector<double>& yardstick)
{
    std::vector<double> ratios(values.size());
    std::transform(values.begin(), values.end(), yardstick.begin(), ratios.begin(), std::divides<>());
    return Median(ratios);
}

} // namespace vesk::bench
