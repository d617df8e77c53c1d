// Which of the known words a misspelt one may have been meant to be.
#include "base/nearest.h"

#include "base/text.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vesk {

namespace {

/// Changes that turn one text into the other: insertions, deletions, replacements.
size_t Distance(std::string_view from, std::string_view to)
{
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced = diagonal + (SameText(from.substr(i, 1), to.substr(j, 1)) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({diagonal + 1, row[j] + 1, replaced});
        }
    }
    return row.back();
}

} // namespace

std::string Nearest(std::string_view text, const std::vector<std::string_view>& known)
{
    constexpr size_t kMost = 3;
    std::vector<std::pair<size_t, std::string_view>> ranked;
    for (const std::string_view name : known) {
        const size_t distance = Distance(text.substr(0, 64), name);
        if (distance <= std::max<size_t>(2, name.size() / 3))
            ranked.emplace_back(distance, name);
    }
    std::sort(ranked.begin(), ranked.end());
    ranked.resize(std::min(ranked.size(), kMost));
    std::string list;
    for (const auto& [distance, name] : ranked)
        list += (list.empty() ? "; nearest: " : ", ") + std::string(name);
    return list;
}

} // namespace vesk
