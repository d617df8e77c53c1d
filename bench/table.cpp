// Prints tables of results.
#include "bench/table.h"

#include <cmath>
#include <cstdio>

namespace vesk::bench {

void Print(const Table& table)
{
    std::printf("### %s\n\n", table.title.c_str());
    std::string rule = "|";
    for (const std::string& column : table.columns) {
        std::printf("| %s ", column.c_str());
        rule += "---|";
    }
    std::printf("|\n%s\n", rule.c_str());
    for (const nlohmann::json& row : table.rows) {
        for (const nlohmann::json& cell : row) {
            if (cell.is_number_float())
                std::printf("| %.2f ", cell.get<double>());
            else
                std::printf("| %s ",
                            cell.is_string() ? cell.get<std::string>().c_str() : cell.dump().c_str());
        }
        std::printf("|\n");
    }
    std::printf("\n");
    std::fflush(stdout);
}

double Rounded(double number, int decimals)
{
    const double scale = std::pow(10, decimals);
    return std::round(number * scale) / scale;
}

} // namespace vesk::bench
