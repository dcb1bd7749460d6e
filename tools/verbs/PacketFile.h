/// @file
/// Looks into transport stream files packet by packet, to check what a recording holds.
#ifndef TOOLS_VERBS_PACKETFILE_H
#define TOOLS_VERBS_PACKETFILE_H

#include <cstdint>
#include <set>
#include <string>

namespace tool {

/// @return the PIDs of a file of whole 188-byte packets (ISO/IEC 13818-1, 2.4.3.2)
/// @throws Failure when the file cannot be read or a packet does not begin with the sync byte
std::set<std::uint16_t> PidsIn(const std::string &path);

/// Compares a recording with the packets of the same PIDs of its source, which may be damaged and
/// of another layout.
/// @return empty when the recording is the beginning of them, packet for packet; else where and how
///         it differs, in words
std::string DifferenceFromSource(const std::string &recording, const std::string &source);

}  // namespace tool

#endif
