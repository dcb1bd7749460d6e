/// @file
/// The information file beside each recording, as far as a playback reads it.
#ifndef MOXPVR_INFORMATIONFILE_H
#define MOXPVR_INFORMATIONFILE_H

#include <cstddef>
#include <cstdio>
#include <memory>

#include "MoxPvrProtocol.h"

namespace mox {

/// Path of an information file: the recording's path with its last three characters replaced by
/// "inf". A recording's path is cut to 255 characters first.
class InformationFilePath {
  public:
    /// @return false for a path of fewer than three characters, which has no information file
    bool Derive(const char *recording);
    const char *c_str() const { return m_text; }

  private:
    char m_text[moxpvr::kTextFieldSize] = {};
};

using RegularFile = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

/// Opens a file for reading and never waits for it: whatever lies under the name of an information
/// file, only a regular file is read.
/// @return null for a file that cannot be opened, a directory, a FIFO or a device
RegularFile OpenRegularFile(const char *path);

/// Reads what an information file holds; fields that it does not reach read as 0.
/// @param file  at its start
/// @return number of bytes read, 0 for an empty or unreadable file, which leaves the fields alone
std::size_t ReadInformation(std::FILE *file, moxpvr::InformationFile &information);

}  // namespace mox

#endif
