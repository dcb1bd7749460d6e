/// @file
/// Times and rates as people write them.
#ifndef TOOLS_TEXT_TIMETEXT_H
#define TOOLS_TEXT_TIMETEXT_H

#include <cstdint>
#include <optional>
#include <string>

namespace tool {

/// Reads "12", "12.5", "1:05", "01:05.250" or "1:02:03". After a colon values are below 60.
/// @return milliseconds, or nothing for any other text and for more than 2147483647 ms
std::optional<std::int64_t> ParseTime(const std::string &text);

/// @return "mm:ss.t", minutes and tenths; negative times count as 0
std::string TimeText(std::int64_t milliseconds);

/// @return "1x", "-4x", "0.5x", "not a number"
std::string RateText(double rate);

/// @return "0x101", or "none" for the values that are not a PID
std::string PidText(std::int64_t pid);

}  // namespace tool

#endif
