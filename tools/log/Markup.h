/// @file
/// Text of a log as markup.
#ifndef TOOLS_LOG_MARKUP_H
#define TOOLS_LOG_MARKUP_H

#include <cstddef>
#include <string>

namespace tool::log {

/// Makes element content and quoted attributes, of HTML and XML alike, of any bytes: bytes that are
/// not UTF-8 become U+FFFD, control characters their pictures, and other characters that cannot be
/// seen, such as those that change the direction of text, their numbers: \u{202e}.
std::string Escaped(const std::string &text);

/// @return the number with commas between its thousands
std::string Grouped(std::size_t number);

/// @return the same with a noun: "1 line", "1,200 lines"
std::string Counted(std::size_t number, const std::string &one);

}  // namespace tool::log

#endif
