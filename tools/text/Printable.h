/// @file
/// Texts of others, made safe to show.
#ifndef TOOLS_TEXT_PRINTABLE_H
#define TOOLS_TEXT_PRINTABLE_H

#include <string>

namespace tool {

/// @return a text of one line: control characters and bytes that are not UTF-8 as \xNN, other
///         characters that cannot be seen as NameOfHidden gives them
std::string Printable(const std::string &text);

/// @return a text of one line in ASCII; every other byte, and the backslash, as \xNN
std::string PrintableAscii(const std::string &text);

/// @return "\u{202e}" for a character above U+007F that cannot be seen, among them those that
/// change
///         the direction of text; empty for others
std::string NameOfHidden(char32_t character);

}  // namespace tool

#endif
