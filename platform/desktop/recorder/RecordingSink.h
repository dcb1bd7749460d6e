/// @file
/// Where a recorder's packets go.
#ifndef TVDESKTOP_RECORDER_RECORDINGSINK_H
#define TVDESKTOP_RECORDER_RECORDINGSINK_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "system/FileDescriptor.h"
#include "ts/ChannelLog.h"
#include "TvDesktop.h"

namespace tvdesktop {

/// The recording's file with its side file; or a FIFO or device, which have no side file, are not
/// synchronised and cannot be swapped. After a failed write a regular file ends with a whole
/// packet.
///
/// Threads: thread-bound. Errors: members that answer false leave the reason in errno.
class RecordingSink {
  public:
    /// Opens and empties a sink, and drops the side file of what it held.
    /// @param source  the file that is recorded from; recording a file onto itself is refused
    bool Open(const std::string &path, int source);

    /// Called when the sink takes nothing now (a full pipe), to wait until its descriptor can be
    /// written again. False gives up.
    using WaitForRoom = std::function<bool(int descriptor)>;

    bool Write(const std::uint8_t *packets, std::size_t size, const WaitForRoom &waitForRoom);

    /// Notes channel information that applies from the present end on. Everything before it must
    /// have been written: the side file never runs ahead of the recording.
    bool AddStretch(std::int64_t timeMs, const TvChannelInfo &info);

    /// Goes on in another file that takes over all that was written, the side file included. On
    /// failure everything stays as it was.
    /// @return kRecorderOk, kRecorderNotTimeshift, kRecorderFileExists or kRecorderWriteFailed
    RecorderCode SwapTo(const std::string &path);

    /// Brings everything to the disk and closes.
    bool Close();

    std::uint64_t Size() const { return m_size; }   ///< bytes written
    bool IsRegular() const { return m_isRegular; }  ///< not a pipe or a device
    const std::string &Path() const { return m_path; }

  private:
    bool MoveInto(FileDescriptor &target, const std::string &path);
    void CutToWholePackets();

    std::string m_path;
    FileDescriptor m_file;
    bool m_isRegular = false;
    std::uint64_t m_size = 0;
};

}  // namespace tvdesktop

#endif
