/// @file
/// The side file of a recording: which channel information applied from when on, and where stream
/// time passes.
#ifndef TVDESKTOP_TS_CHANNELLOG_H
#define TVDESKTOP_TS_CHANNELLOG_H

#include <TVTypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "system/FileDescriptor.h"
#include "ts/TimeIndex.h"

namespace tvdesktop::ts {

/// One stretch of a recording, from its start to the next one's.
struct ChannelStretch {
    std::int64_t timeMs = 0;   ///< stream time at which the stretch begins
    std::uint64_t offset = 0;  ///< first byte of the recording that belongs to it
    TvChannelInfo info{};
};

/// Whether a stretch can come after another one that has packets.
inline bool Follows(const ChannelStretch &stretch, const ChannelStretch &last) {
    return stretch.timeMs >= last.timeMs && stretch.offset > last.offset;
}

/// What a side file holds.
struct ChannelLog {
    std::vector<ChannelStretch> stretches;  ///< in order
    std::vector<TimePoint> index;           ///< as TimeIndex keeps them, without stream times

    bool IsEmpty() const { return stretches.empty() && index.empty(); }
};

/// Path of the side file: the recording's path with ".chan" appended.
std::string ChannelLogPath(const std::string &recording);

/// Reads a side file: text, a version line, then lines of two kinds, each in order. A stretch has
/// its time, its offset and the 192 bytes of channel information as hexadecimal digits; a PCR has
/// the word "pcr", its offset, its PID and its ticks. Lines that do not parse, a last line without
/// its newline, and what is out of order are left out. Whether the index is that of the recording
/// is for its reader to judge.
///
/// The file that was opened first is followed, whatever becomes of its name. Threads: thread-bound.
class ChannelLogReader {
  public:
    /// Takes in the lines that were added since the last call.
    /// @param log  added to, and what its end was before may be replaced: a stretch takes the place
    ///             of one that begins where it does. The caller may take from it at any time.
    /// @return false when there is a file that cannot be read; errno holds the reason, as
    ///         of OpenRegularFile
    bool Follow(const std::string &recording, ChannelLog &log);

  private:
    enum class Version { Unknown, Ours, Other };

    std::optional<std::string> NextLine();
    bool ReadMore();

    FileDescriptor m_file;
    Version m_version = Version::Unknown;
    std::vector<char> m_block;
    std::size_t m_next = 0;
    std::size_t m_filled = 0;
    int m_error = 0;
};

/// Reads what is there now.
/// @param log  out: empty when there is no such file, or one of another version
/// @return as of ChannelLogReader::Follow
bool ReadChannelLog(const std::string &recording, ChannelLog &log);
/// The stretches alone, for those who do without a side file that cannot be read.
std::vector<ChannelStretch> ReadChannelLog(const std::string &recording);

/// Adds lines; those of one call reach the file with one write. Threads: thread-bound.
class ChannelLogWriter {
  public:
    /// Opens a side file, or makes it with its version line. What is open is written to whatever
    /// becomes of its name.
    /// @return false when it cannot be written; errno holds the reason
    bool Open(const std::string &recording);
    bool IsOpen() const { return m_file.IsOpen(); }
    void Close() { m_file.Close(); }

    /// @return false when the file could not be written; errno holds the reason
    bool Append(const ChannelStretch &stretch);
    bool Append(const std::vector<TimePoint> &index);

  private:
    bool AppendText(std::string text);

    FileDescriptor m_file;
};

/// Writes a side file where there is none.
/// @return false on failure, with no side file left; errno holds the reason, EEXIST when one
///         exists
bool CreateChannelLog(const std::string &recording, const ChannelLog &log);

/// Replaces the side file as a whole: a temporary file, flushed, then renamed over it.
/// @return false on failure, nothing changed; errno holds the reason
bool WriteChannelLog(const std::string &recording, const ChannelLog &log);

}  // namespace tvdesktop::ts

#endif
