#include "recorder/RecordingSink.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "system/Files.h"
#include "system/WriterLock.h"
#include "ts/TsPacket.h"

namespace tvdesktop {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kSentAtOnce = 4 << 20;

/// The system's own link to an open file, which leads there whatever its names are.
std::string LinkOf(const FileDescriptor &file) {
    return "/proc/self/fd/" + std::to_string(file.Get());
}

std::string RealPath(const std::string &path) {
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return error ? path : real.string();
}

}  // namespace

RecordingSink::~RecordingSink() {
    if (!m_isNew || m_size > 0 || !IsNameOf(m_name, m_file.Get()))
        return;
    ::unlink(m_name.c_str());
    if (!m_log.IsEmpty())
        ::unlink(ts::ChannelLogPath(m_path).c_str());
}

/// @return false, with errno as it was
bool RecordingSink::Fail(const std::string &what, const std::string &why) {
    const int reason = errno;
    m_problem = what + ": " + why;
    errno = reason;
    return false;
}

bool RecordingSink::Fail(const std::string &what) {
    return Fail(what, std::strerror(errno));
}

// --- Opening -------------------------------------------------------------------------------------

bool RecordingSink::Open(const std::string &path, int source) {
    m_path = path;
    return OpenFile() && Lock() && (!m_isRegular || (IsSideFileFree(source) && Empty(source)));
}

bool RecordingSink::OpenFile() {
    // Non-blocking, so that a FIFO without a reader answers instead of waiting for one. Read access
    // would keep a FIFO from telling that its reader has gone, so only regular files get it.
    struct stat status {};
    const bool isThere = ::stat(m_path.c_str(), &status) == 0;
    const int access = isThere && !S_ISREG(status.st_mode) ? O_WRONLY : O_RDWR;
    if (!isThere)
        m_file = CreateFile(m_path);
    m_isNew = m_file.IsOpen();
    if (!m_isNew && (isThere || errno == EEXIST)) {
        m_file = FileDescriptor(::open(m_path.c_str(), access | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    }
    if (!m_file.IsOpen() || ::fstat(m_file.Get(), &status) != 0)
        return Fail("cannot write " + m_path);
    m_isRegular = S_ISREG(status.st_mode);
    m_name = RealPath(m_path);
    return true;
}

/// Devices are not locked: /dev/null is for everybody.
bool RecordingSink::Lock() {
    struct stat status {};
    if (::fstat(m_file.Get(), &status) == 0 && S_ISCHR(status.st_mode))
        return true;
    if (TakeWriterLock(m_file.Get()))
        return true;
    m_isNew = false;
    return Fail("cannot write " + m_path, "another recorder is writing it");
}

bool RecordingSink::IsSideFileFree(int source) {
    const std::string path = ts::ChannelLogPath(m_path);
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return errno == ENOENT || Fail("cannot write " + path);
    errno = EINVAL;
    if (LeadsTo(path, source))
        return Fail("cannot write " + path, "it is the source of the recording");
    if (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode))
        return Fail("cannot write " + path, "it is not a regular file");
    return true;
}

bool RecordingSink::Empty(int source) {
    errno = EINVAL;
    if (LeadsTo(m_path, source))
        return Fail("cannot write " + m_path, "it is the source of the recording");
    // The side file goes first: it must never speak of a recording that does not exist.
    if (!RemoveIfThere(ts::ChannelLogPath(m_path)))
        return Fail("cannot replace " + ts::ChannelLogPath(m_path));
    return ::ftruncate(m_file.Get(), 0) == 0 || Fail("cannot write " + m_path);
}

// --- Writing -------------------------------------------------------------------------------------

bool RecordingSink::Write(const std::uint8_t *packets, std::size_t size,
                          const WaitForRoom &waitForRoom) {
    while (size > 0) {
        const ssize_t written = ::write(m_file.Get(), packets, size);
        if (written >= 0) {
            packets += written;
            size -= static_cast<std::size_t>(written);
            m_size += static_cast<std::uint64_t>(written);
            SendToDisk();
            continue;
        }
        if (errno == EINTR || (errno == EAGAIN && waitForRoom(m_file.Get())))
            continue;
        CutToWholePackets();
        return errno == ETIMEDOUT ? Fail("cannot write " + m_path, "its reader takes too long")
                                  : Fail("cannot write " + m_path);
    }
    return true;
}

/// Lets the disk begin with what is written, so that the end has little left to wait for. That it
/// does not begin is no failure.
void RecordingSink::SendToDisk() {
    if (!m_isRegular || m_size - m_sent < kSentAtOnce)
        return;
    ::sync_file_range(m_file.Get(), static_cast<off_t>(m_sent), static_cast<off_t>(m_size - m_sent),
                      SYNC_FILE_RANGE_WRITE);
    m_sent = m_size;
}

void RecordingSink::CutToWholePackets() {
    const int reason = errno;
    const std::uint64_t whole = m_size - m_size % ts::kPacketSize;
    if (m_isRegular && ::ftruncate(m_file.Get(), static_cast<off_t>(whole)) == 0)
        m_size = whole;
    errno = reason;
}

bool RecordingSink::AddStretch(std::int64_t timeMs, const TvChannelInfo &info) {
    if (!m_isRegular)
        return true;
    const ts::ChannelStretch stretch{timeMs, m_size, info};
    auto &stretches = m_log.stretches;
    if (!stretches.empty() && stretches.back().offset == m_size)
        stretches.pop_back();  // nothing was recorded of it
    stretches.push_back(stretch);
    return (OpenSideFile() && m_sideFile.Append(stretch)) ||
           Fail("cannot write " + ts::ChannelLogPath(m_path));
}

void RecordingSink::AddToIndex(const std::vector<ts::TimePoint> &points) {
    if (!m_isRegular || points.empty() || !m_hasWholeIndex)
        return;
    m_hasWholeIndex = OpenSideFile() && m_sideFile.Append(points);
    if (m_hasWholeIndex)
        m_log.index.insert(m_log.index.end(), points.begin(), points.end());
}

// --- Swap ----------------------------------------------------------------------------------------

RecorderCode RecordingSink::SwapTo(const std::string &path) {
    if (!m_isRegular)
        return kRecorderNotTimeshift;
    // The side file exists before the recording has its new name, and the old one goes last, so
    // that the recording has its channel information at every moment.
    const std::string sideFile = ts::ChannelLogPath(path);
    if (!MakeSideFile(path)) {
        Fail("cannot make " + sideFile);
        return errno == EEXIST ? kRecorderFileExists : kRecorderWriteFailed;
    }
    FileDescriptor copy;
    if (!MoveTo(path, copy)) {
        Fail("cannot move " + m_path + " to " + path);
        const bool exists = errno == EEXIST;
        ::unlink(sideFile.c_str());
        return exists ? kRecorderFileExists : kRecorderWriteFailed;
    }
    SyncFolderOf(path);
    DropOldNames();
    if (copy.IsOpen())
        m_file = std::move(copy);
    m_path = path;
    m_name = RealPath(path);
    m_sideFile.Close();
    return kRecorderOk;
}

/// Without anything to note there is none, but the name must be free all the same.
bool RecordingSink::MakeSideFile(const std::string &path) {
    if (!m_log.IsEmpty())
        return ts::CreateChannelLog(path, m_log);
    struct stat status {};
    if (::lstat(ts::ChannelLogPath(path).c_str(), &status) != 0)
        return true;
    errno = EEXIST;
    return false;
}

/// Gives the open file a further name, which replaces nothing. Where that cannot be done it is
/// renamed, or copied when the name is lost or on another file system.
bool RecordingSink::MoveTo(const std::string &path, FileDescriptor &copy) {
    if (::linkat(AT_FDCWD, LinkOf(m_file).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    if (errno != EXDEV && IsNameOf(m_name, m_file.Get()) &&
        ::renameat2(AT_FDCWD, m_name.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    return CopyTo(path, copy);
}

bool RecordingSink::CopyTo(const std::string &path, FileDescriptor &copy) {
    copy = CreateFile(path);
    return copy.IsOpen() && Fill(copy, path);
}

/// @param copy  a file that was just made for it; on failure it goes again
bool RecordingSink::Fill(const FileDescriptor &copy, const std::string &path) {
    TakeWriterLock(copy.Get());  // free: nobody else knows the file yet
    if (CopyFile(m_file.Get(), copy.Get(), m_size))
        return true;
    const int reason = errno;
    ::unlink(path.c_str());
    errno = reason;
    return false;
}

/// A name that others have taken is left alone, and so is the side file that may be theirs.
void RecordingSink::DropOldNames() {
    if (IsNameOf(m_name, m_file.Get()))
        ::unlink(m_name.c_str());
    struct stat status {};
    if (::lstat(m_path.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
        ::unlink(m_path.c_str());  // led to the name that is gone
    if (::lstat(m_path.c_str(), &status) != 0)
        ::unlink(ts::ChannelLogPath(m_path).c_str());
}

// --- The end -------------------------------------------------------------------------------------

bool RecordingSink::Close() {
    m_isNew = false;
    if (m_isRegular) {
        if (::fsync(m_file.Get()) != 0)
            return Fail("cannot write " + m_path);
        SyncFolderOf(m_path);
        if (!LeadsTo(m_path, m_file.Get()))
            return KeepNameless();
    }
    return m_file.Close() || Fail("cannot write " + m_path);
}

/// @return false: that a recording is not where it was asked for is a failure in any case
bool RecordingSink::KeepNameless() {
    errno = ENOENT;
    const std::string lost = m_path + " was removed or replaced while it was recorded";
    std::error_code error;
    const std::string moved = fs::read_symlink(LinkOf(m_file), error).string();
    if (!error && IsNameOf(moved, m_file.Get()))
        return Fail(lost, "the recording is in " + moved);

    std::string name = m_path;
    FileDescriptor copy;
    bool isKept = MoveTo(name, copy);
    if (!isKept && errno == EEXIST) {
        name += '-';
        copy = CreateUniqueFile(name);
        isKept = copy.IsOpen() && Fill(copy, name);
    }
    if (!isKept)
        return Fail(lost + ", and what was recorded cannot be kept");
    SyncFolderOf(name);
    if (!m_log.IsEmpty())
        ts::CreateChannelLog(name, m_log);  // unless its own still exists
    return Fail(lost, "what was recorded is kept in " + name);
}

}  // namespace tvdesktop
