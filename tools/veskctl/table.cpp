// Rows of text with aligned columns.
#include "tools/veskctl/table.h"

#include "base/text.h"
#include "tools/veskctl/output.h"

#include <algorithm>

namespace vesk::ctl {

void Table::Add(std::vector<std::string> row)
{
    widths_.resize(std::max(widths_.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) {
        row[i] = Printable(row[i]); // which may be wider
        widths_[i] = std::max(widths_[i], row[i].size());
    }
    rows_.push_back(std::move(row));
}

std::vector<std::string> Table::Lines() const
{
    std::vector<std::string> lines;
    for (const std::vector<std::string>& row : rows_) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (widths_[i] != 0 && i + 1 < row.size())
                line.append(widths_[i] + 2 - row[i].size(), ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(std::move(line));
    }
    return lines;
}

void Table::Print(const std::string& indent) const
{
    for (const std::string& line : Lines())
        PrintLine(indent + line);
}

} // namespace vesk::ctl
