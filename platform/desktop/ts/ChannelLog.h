/// @file
/// The side file of a recording: which channel information applied from when on.
#ifndef TVDESKTOP_TS_CHANNELLOG_H
#define TVDESKTOP_TS_CHANNELLOG_H

#include <TVTypes.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tvdesktop::ts {

/// One stretch of a recording, from its start to the next one's.
struct ChannelStretch {
    std::int64_t timeMs = 0;   ///< stream time at which the stretch begins
    std::uint64_t offset = 0;  ///< first byte of the recording that belongs to it
    TvChannelInfo info{};
};

/// Path of the side file: the recording's path with ".chan" appended.
std::string ChannelLogPath(const std::string &recording);

/// Reads a side file: text, a version line, then one line per stretch with its time, its offset and
/// the 192 bytes of channel information as hexadecimal digits. Lines that do not parse, a last line
/// without its newline, and stretches out of order are left out.
/// @param stretches  out: in order; empty when there is no such file, or one of another version
/// @return false when there is a file that cannot be read; errno holds the reason, as of
/// OpenRegularFile
bool ReadChannelLog(const std::string &recording, std::vector<ChannelStretch> &stretches);
/// The same for those who do without a side file that cannot be read.
std::vector<ChannelStretch> ReadChannelLog(const std::string &recording);

/// Adds one stretch; the line reaches the file with one write. A new file gets its version line.
/// @return false when the file could not be written; errno holds the reason
bool AppendChannelLog(const std::string &recording, const ChannelStretch &stretch);

/// Writes a side file where there is none.
/// @return false on failure, with no side file left; errno holds the reason, EEXIST when there is
/// one
bool CreateChannelLog(const std::string &recording, const std::vector<ChannelStretch> &stretches);

/// Replaces the side file as a whole: a temporary file, flushed, then renamed over it.
/// @return false on failure, nothing changed; errno holds the reason
bool WriteChannelLog(const std::string &recording, const std::vector<ChannelStretch> &stretches);

}  // namespace tvdesktop::ts

#endif
