// Prints tables of results.
#include "bench/table.h"

#include <nlohmann/json.hpp>

#include <cinttypes>
#include <cmath>
#include <iostream>

using nlohmann::json;

/// A cell is a text or a number.
template <>
struct nlohmann::adl_serializer<vesk::bench::Cell> {
    static void to_json(json& document, const vesk::bench::Cell& cell)
    {
        std::visit([&](const auto& value) { document = value; }, cell);
    }

    static void from_json(const json& document, vesk::bench::Cell& cell)
    {
        if (document.is_string())
            cell = document.get<std::string>();
        else if (document.is_number_float())
            cell = document.get<double>();
        else
            cell = document.get<int64_t>();
    }
};

namespace vesk::bench {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Table, title, columns, rows)

void Print(const Table& table)
{
    std::printf("### %s\n\n", table.title.c_str());
    std::string rule = "|";
    for (const std::string& column : table.columns) {
        std::printf("| %s ", column.c_str());
        rule += "---|";
    }
    std::printf("|\n%s\n", rule.c_str());
    for (const std::vector<Cell>& row : table.rows) {
        for (const Cell& cell : row) {
            if (const auto* text = std::get_if<std::string>(&cell))
                std::printf("| %s ", text->c_str());
            else if (const auto* number = std::get_if<double>(&cell))
                std::printf("| %.2f ", *number);
            else
                std::printf("| %" PRId64 " ", std::get<int64_t>(cell));
        }
        std::printf("|\n");
    }
    std::printf("\n");
    std::fflush(stdout);
}

void PrintJson(const std::vector<Table>& tables)
{
    std::cout << json(tables).dump(2) << '\n';
}

std::vector<Table> ParseJson(const std::string& text)
{
    return json::parse(text).get<std::vector<Table>>();
}

std::string Text(double number)
{
    return json(number).dump();
}

double Rounded(double number, int decimals)
{
    const double scale = std::pow(10, decimals);
    return std::round(number * scale) / scale;
}

} // namespace vesk::bench
