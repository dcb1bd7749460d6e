/// @file
/// The value of a field as people write it, both ways.
#ifndef TOOLS_TEXT_FIELDVALUE_H
#define TOOLS_TEXT_FIELDVALUE_H

#include <string>

#include "text/RecordLayout.h"

namespace tool {

/// Meaning of the PIDs that name no stream.
inline constexpr char kNoSuchStream[] = "no such stream";

/// @param record  what of it was sent; the rest reads as 0
/// @return "4000", "0x101", "none", "-0.5", a path, "0x0,0x1000": as SetValue takes it
std::string ValueText(const FieldLayout &field, const Bytes &record);

/// @param record  as ValueText has it
/// @return "00:04.0", "yes", "H.264": the value in words; empty where it speaks for itself
std::string MeaningText(const FieldLayout &field, const Bytes &record);

/// @return how to write a value of the field ("0 to 255", "a PID, none or keep")
std::string ValueHelp(const FieldLayout &field);

/// Writes a value into a record, which grows as far as the field needs.
/// @throws UsageError for a text that is not a value of the field, or does not fit it
void SetValue(const FieldLayout &field, const std::string &value, Bytes &record);

}  // namespace tool

#endif
