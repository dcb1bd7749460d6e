#include "text/TableText.h"

#include <algorithm>

namespace tool {

namespace {

constexpr std::size_t kWidestColumn = 40;

}  // namespace

std::string TableText(const std::vector<std::vector<std::string>> &rows) {
    std::vector<std::size_t> widths(rows.empty() ? 0 : rows.front().size(), 0);
    for (const auto &row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            if (row[i].size() <= kWidestColumn)
                widths[i] = std::max(widths[i], row[i].size());
    std::string text;
    for (const auto &row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += "  " + row[i];
            if (row[i].size() < widths[i])
                line.append(widths[i] - row[i].size(), ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string CountText(std::size_t count, const std::string &one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string ListText(const std::vector<std::string> &items) {
    std::string text;
    for (const std::string &item : items)
        text += (text.empty() ? "" : ", ") + item;
    return text;
}

}  // namespace tool
