/// @file
/// Packets of a recording, one at a time.
#ifndef TVDESKTOP_TS_PACKETREADER_H
#define TVDESKTOP_TS_PACKETREADER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "PacketFraming.h"
#include "system/FileDescriptor.h"

namespace tvdesktop::ts {

/// Reads the whole packets of a file, which may still grow: at its end there is no packet now, and
/// a later call goes on with what was written since.
///
/// Threads: thread-bound.
class PacketReader {
  public:
    /// Opens a file and begins at its first byte. Files that cannot be read at any place (pipes,
    /// directories) are refused.
    /// @return false on failure; errno tells why
    bool Open(const std::string &path);
    void Close();
    bool IsOpen() const { return m_file.IsOpen(); }

    /// Goes on with the first whole packet at or behind a byte offset.
    void Seek(std::uint64_t offset);

    /// @return the next packet, valid until the next call of any member; null: none now
    const std::uint8_t *Next();

    /// @return byte offset in the file of the packet that Next returned last
    std::uint64_t Offset() const { return m_packetOffset; }

    /// @return byte offset behind which Next goes on
    std::uint64_t Tell() const { return m_bufferOffset + m_position; }

    /// @return the file's size in bytes at this moment
    std::uint64_t Size() const;

  private:
    bool ReadMore();

    FileDescriptor m_file;
    PacketFraming m_framing;
    std::vector<std::uint8_t> m_buffer;
    std::size_t m_filled = 0;
    std::size_t m_position = 0;        ///< in the buffer: where the next packet is looked for
    std::uint64_t m_bufferOffset = 0;  ///< of the buffer's first byte in the file
    std::uint64_t m_packetOffset = 0;
};

}  // namespace tvdesktop::ts

#endif
