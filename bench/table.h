// Tables of results.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vesk::bench {

using Cell = std::variant<std::string, int64_t, double>;

struct Table {
    std::string title;
    std::vector<std::string> columns;
    std::vector<std::vector<Cell>> rows;
};

/// Prints a table in Markdown.
void Print(const Table& table);

/// Prints tables as a JSON array.
void PrintJson(const std::vector<Table>& tables);

/// What PrintJson has printed.
std::vector<Table> ParseJson(const std::string& text);

/// A number with @p decimals decimals.
double Rounded(double number, int decimals);

/// The shortest text that reads back as the same number, with at least one decimal.
std::string Text(double number);

// The tables. A quick one makes fewer rounds.
/// With both ends on one CPU: what the work costs.
Table CallTable(bool quick);
/// With each end on a CPU of its own: mostly what it costs to wake up a CPU. Empty when there is only one.
Table DistantCallTable(bool quick);
Table LargeCallTable(bool quick);
Table ThreadTable(bool quick);
Table OwedTable(bool quick);
Table NotificationTable(bool quick);
/// In a process of its own, with a platform that answers at once.
Table OwnShareTable(bool quick);
/// What that process prints.
Table MeasureOwnShare(bool quick);
Table SystemCallTable(bool quick);
/// What the scene of a full display costs the virtual service.
Table SceneTable(bool quick);
/// And the other clients of the service.
Table SceneAskedTable(bool quick);
/// What it costs to draw displays, beside other programs that compose pictures.
Table PictureTable(bool quick);
/// What pages of a full display cost the service's other clients, and the program that serves them.
Table PageTable(bool quick);
/// What the Python package adds to a call.
Table PythonCallTable(bool quick);
Table PythonImportTable(bool quick);

} // namespace vesk::bench
