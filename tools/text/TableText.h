/// @file
/// Columns for a reader.
#ifndef TOOLS_TEXT_TABLETEXT_H
#define TOOLS_TEXT_TABLETEXT_H

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// @param rows  all with the same number of cells
/// @return the rows as lines that start with two spaces, each column as wide as its widest cell;
///         one above 40 characters widens its own line only
std::string TableText(const std::vector<std::vector<std::string>> &rows);

/// @return "1 line", "2 lines"
std::string CountText(std::size_t count, const std::string &one);

/// @return "a, b, c"
std::string ListText(const std::vector<std::string> &items);

}  // namespace tool

#endif
