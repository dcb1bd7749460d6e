/// @file
/// Packets of a recording, one at a time.
#ifndef TVDESKTOP_TS_PACKETREADER_H
#define TVDESKTOP_TS_PACKETREADER_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "system/FileDescriptor.h"
#include "ts/PacketFraming.h"

namespace tvdesktop::ts {

/// Reads the whole packets of a file, which may still grow: at its end no packet follows for now,
/// and a later call continues with what was written since. A read error is not the end: it is kept,
/// and no packet follows it, so that no caller judges a file by a part of it.
///
/// Threads: thread-bound.
class PacketReader {
  public:
    /// Opens a regular file and begins at its first byte. Never waits.
    /// @return false on failure; errno holds the reason, as of OpenRegularFile
    bool Open(const std::string &path);
    void Close();
    bool IsOpen() const { return m_file.IsOpen(); }

    /// Continues with the first whole packet at or after a byte offset.
    void Seek(std::uint64_t offset);

    /// @param end  byte offset; only packets that begin before it are looked for, so that a file
    ///             without packets is not read to its end
    /// @return the next packet, valid until the next call of any member; null: none now
    const std::uint8_t *Next(std::uint64_t end = std::numeric_limits<std::uint64_t>::max());

    /// @return the whole packet that begins at a byte offset, valid until the next call of any
    ///         member; null when none does. Next continues after it.
    const std::uint8_t *At(std::uint64_t offset);

    /// @return the errno of the read that failed since Open; 0: none did
    int Error() const { return m_error; }

    /// @return byte offset in the file of the packet that Next returned last
    std::uint64_t Offset() const { return m_packetOffset; }

    /// @return byte offset after which Next continues
    std::uint64_t Tell() const { return m_bufferOffset + m_position; }

    /// @return the file's size in bytes at this moment
    std::uint64_t Size() const;

  private:
    bool ReadMore(std::size_t most);

    FileDescriptor m_file;
    PacketFraming m_framing;
    std::vector<std::uint8_t> m_buffer;
    std::size_t m_filled = 0;
    std::size_t m_nextRead = 0;        ///< bytes; small after a jump, large once it reads on
    std::size_t m_position = 0;        ///< in the buffer: where the next packet is looked for
    std::uint64_t m_bufferOffset = 0;  ///< of the buffer's first byte in the file
    std::uint64_t m_packetOffset = 0;
    int m_error = 0;
};

}  // namespace tvdesktop::ts

#endif
