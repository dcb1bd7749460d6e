/// @file
/// Records, field by field.
#ifndef TOOLS_TEXT_RECORDTEXT_H
#define TOOLS_TEXT_RECORDTEXT_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "text/RecordLayout.h"

namespace tool {

/// A field as it was sent, or bytes that no field accounts for.
struct FieldText {
    const FieldLayout *field = nullptr;  ///< null for bytes of no field
    std::size_t offset = 0;              ///< from the start of the record
    std::size_t width = 0;               ///< in bytes
    std::size_t sent = 0;                ///< how many of them were sent; the others read as 0
    std::string value;                   ///< as ValueText; of other bytes hexadecimal digits
    std::string meaning;                 ///< as MeaningText
};

/// @param record  what of it was sent
/// @return every field in the order of the offsets, and between and after them every byte that the
///         fields' values do not account for: what is set outside of any field, what follows a
///         path's NUL, what is left over at the end. Set into an empty record one after the other,
///         they give these bytes again.
std::vector<FieldText> FieldTexts(const RecordLayout &layout, const Bytes &record);

/// @return a value for a reader in a hurry: "00:04.0", "-4x", "H.264", "0x0 0x1000"
std::string ShortValue(const FieldText &text);

/// @param side  of the request
/// @param text  the request in hexadecimal digits, the command number included; may be cut
/// @return      name and ShortValue of every field that was sent, the last perhaps in part; none
///              for an unknown command
std::vector<std::pair<std::string, std::string>> FieldValues(Side side, const std::string &text);

}  // namespace tool

#endif
