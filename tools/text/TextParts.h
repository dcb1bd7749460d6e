/// @file
/// What texts begin with, end in and are made of.
#ifndef TOOLS_TEXT_TEXTPARTS_H
#define TOOLS_TEXT_TEXTPARTS_H

#include <string_view>

namespace tool {

inline bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

inline bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// @return whether a character is a decimal digit, whatever the locale
constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace tool

#endif
