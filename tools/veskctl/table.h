// Rows of text with aligned columns.
#pragma once

#include <string>
#include <vector>

namespace vesk::ctl {

/// Rows of text whose columns are aligned, but for the last.
class Table {
public:
    void Add(std::vector<std::string> row);

    /// The rows as lines. A column that is empty in all rows is left out.
    std::vector<std::string> Lines() const;

    /// Prints them, each after an indent.
    void Print(const std::string& indent) const;

private:
    std::vector<std::vector<std::string>> rows_;
    std::vector<size_t> widths_;
};

} // namespace vesk::ctl
