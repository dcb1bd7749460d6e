/// @file
/// Bytes as hexadecimal text, both ways.
#ifndef TOOLS_TEXT_HEXTEXT_H
#define TOOLS_TEXT_HEXTEXT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "text/RecordLayout.h"

namespace tool {

/// @return two lower-case digits per byte
std::string HexOf(const unsigned char *bytes, std::size_t count);
std::string HexOf(const Bytes &bytes);

/// @return the bytes of a text as the library decodes it: any character that is not a digit is 0,
///         and what a last odd character would start is left out
Bytes BytesOf(const std::string &text);

/// @return the command number of a request; what of it was not sent reads as 0
std::uint32_t CommandIn(const Bytes &request);

/// @return where the first character is that is not a hexadecimal digit, if there is one
std::optional<std::size_t> FirstStrangeCharacter(const std::string &text);

}  // namespace tool

#endif
