/// @file
/// The information file beside each recording, as far as a playback reads it.
#ifndef MOXPVR_INFORMATIONFILE_H
#define MOXPVR_INFORMATIONFILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "WireRecord.h"

namespace mox {

/// Path of an information file: the recording's path with its last three characters replaced by
/// "inf". A recording's path is cut to 255 characters first.
class InformationFilePath {
  public:
    /// @return false for a path of fewer than three characters, which has no information file
    bool Derive(const char *recording);
    const char *c_str() const { return m_text; }

  private:
    char m_text[kTextFieldSize] = {};
};

using RegularFile = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

/// Opens a file for reading and never waits for it: whatever lies under the name of an information
/// file, only a regular file is read.
/// @return null for a file that cannot be opened, a directory, a FIFO or a device
RegularFile OpenRegularFile(const char *path);

/// What was read of an information file; what the file does not reach reads as zero. All fields are
/// little-endian.
class InformationFile {
  public:
    static constexpr std::size_t kSize = 10645;  ///< as much of a file as is ever read

    /// @param file  at its start
    /// @return number of bytes read, 0 for an empty or unreadable file
    std::size_t ReadFrom(std::FILE *file);

    std::uint32_t VideoPid() { return Fields().U32(798); }
    std::uint32_t PcrPid() { return Fields().U32(802); }
    std::uint32_t AudioPid() { return Fields().U32(806); }
    std::uint16_t ChannelType() { return Fields().U16(824); }

    /// Channel types 1 and 3.
    bool IsAnalogue() { return (ChannelType() & ~2U) == 1; }

  private:
    WireRecord Fields() { return WireRecord(m_bytes); }

    unsigned char m_bytes[kSize] = {};
};

}  // namespace mox

#endif
