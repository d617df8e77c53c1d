// Rows of text with aligned columns.
#pragma once

#include <string>
#include <vector>

namespace vesk::ctl {

/// Rows of text whose columns are aligned, but for the last.
class Table {
public:
    void Add(std::vector<std::string> row);

    /// Prints the rows, each after an indent. A column that is empty in all rows is left out.
    void Print(const std::string& indent) const;

private:
    std::vector<std::vector<std::string>> rows_;
    std::vector<size_t> widths_;
};

} // namespace vesk::ctl
