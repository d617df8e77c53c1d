// Tables of results.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace vesk::bench {

struct Table {
    std::string title;
    std::vector<std::string> columns;
    std::vector<nlohmann::json> rows; ///< Arrays of texts and numbers.
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Table, title, columns, rows)

/// Prints a table in Markdown.
void Print(const Table& table);

/// A number with @p decimals decimals.
double Rounded(double number, int decimals);

// The tables. A quick one makes fewer rounds.
/// With both ends on one CPU: what the work costs.
Table CallTable(bool quick);
/// With each end on a CPU of its own: mostly what it costs to wake up a CPU. Empty when there is only one.
Table DistantCallTable(bool quick);
Table ThreadTable(bool quick);
Table OwedTable(bool quick);
Table NotificationTable(bool quick);
/// In a process of its own, with a platform that answers at once.
Table OwnShareTable(bool quick);
/// What that process prints.
Table MeasureOwnShare(bool quick);
Table SystemCallTable(bool quick);

} // namespace vesk::bench
