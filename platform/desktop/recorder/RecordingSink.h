/// @file
/// Where a recorder's packets go.
#ifndef TVDESKTOP_RECORDER_RECORDINGSINK_H
#define TVDESKTOP_RECORDER_RECORDINGSINK_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "system/FileDescriptor.h"
#include "ts/ChannelLog.h"
#include "TvDesktop.h"

namespace tvdesktop {

/// The recording's file with its side file; or a FIFO or device, which have no side file, are not
/// synchronised and cannot be swapped. After a failed write a regular file ends with a whole
/// packet. A file that was made for a recording and did not get a packet goes with the sink, unless
/// it was closed.
///
/// What counts is the open file: its name may be taken away by others at any time.
///
/// Threads: thread-bound. Errors: members that do not succeed leave the reason in errno, and a
/// sentence for a user in Problem().
class RecordingSink {
  public:
    RecordingSink() = default;
    ~RecordingSink();
    RecordingSink(const RecordingSink &) = delete;
    RecordingSink &operator=(const RecordingSink &) = delete;

    /// Opens and empties a sink, and drops the side file of what it held. Refused when the sink or
    /// its side file is what is recorded from, and when another recorder has the sink.
    /// @param source  the file that is recorded from
    bool Open(const std::string &path, int source);

    /// Called when the sink takes nothing now (a full pipe), to wait until its descriptor can be
    /// written again. False gives up.
    using WaitForRoom = std::function<bool(int descriptor)>;

    bool Write(const std::uint8_t *packets, std::size_t size, const WaitForRoom &waitForRoom);

    /// Notes channel information that applies from the present end on. Everything before it must
    /// have been written: the side file never runs ahead of the recording.
    bool AddStretch(std::int64_t timeMs, const TvChannelInfo &info);

    /// Notes where stream time passes in what has been written. The recording is worth more than
    /// its index: when one cannot be written the index ends there, and no more is reported.
    void AddToIndex(const std::vector<ts::TimePoint> &points);

    /// Continues in another file that takes over all that was written, the side file included. On
    /// failure everything stays as it was.
    /// @return kRecorderOk, kRecorderNotTimeshift, kRecorderFileExists or kRecorderWriteFailed
    RecorderCode SwapTo(const std::string &path);

    /// Brings everything to the disk and closes. A file that has lost its name is copied to one
    /// that Problem() names; that is a failure too.
    bool Close();

    std::uint64_t Size() const { return m_size; }   ///< bytes written
    bool IsRegular() const { return m_isRegular; }  ///< not a pipe or a device
    const std::string &Problem() const { return m_problem; }

  private:
    bool Fail(const std::string &what, const std::string &why);
    bool Fail(const std::string &what);
    bool IsSideFileFree(int source);
    bool OpenFile();
    bool Lock();
    bool Empty(int source);
    bool MoveTo(const std::string &path, FileDescriptor &copy);
    bool CopyTo(const std::string &path, FileDescriptor &copy);
    bool Fill(const FileDescriptor &copy, const std::string &path);
    bool MakeSideFile(const std::string &path);
    bool OpenSideFile() { return m_sideFile.IsOpen() || m_sideFile.Open(m_path); }
    void DropOldNames();
    bool KeepNameless();
    void SendToDisk();
    void CutToWholePackets();

    std::string m_path;
    std::string m_name;  ///< of the file itself, where the path is a link
    FileDescriptor m_file;
    bool m_isRegular = false;
    bool m_isNew = false;  ///< made here, and not closed
    std::uint64_t m_size = 0;
    std::uint64_t m_sent = 0;  ///< bytes that the disk has been given
    ts::ChannelLog m_log;      ///< what the side file holds
    ts::ChannelLogWriter m_sideFile;
    bool m_hasWholeIndex = true;
    std::string m_problem;
};

}  // namespace tvdesktop

#endif
