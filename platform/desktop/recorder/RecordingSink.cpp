#include "RecordingSink.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <vector>

#include "ts/TsPacket.h"

namespace tvdesktop {

namespace {

bool IsSameFile(const struct stat &left, const struct stat &right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

bool RemoveIfThere(const std::string &path) {
    return ::unlink(path.c_str()) == 0 || errno == ENOENT;
}

/// Copies the first `size` bytes of a file to the position of another.
bool Copy(int from, int to, std::uint64_t size) {
    std::vector<char> block(1 << 20);
    for (std::uint64_t offset = 0; offset < size;) {
        const ssize_t count = ::pread(from, block.data(), block.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || !WriteAll(to, block.data(), static_cast<std::size_t>(count)))
            return false;
        offset += static_cast<std::uint64_t>(count);
    }
    return true;
}

}  // namespace

bool RecordingSink::Open(const std::string &path, int source) {
    // Non-blocking, so that a FIFO without a reader answers instead of waiting for one. Read access
    // would keep a FIFO from telling that its reader has gone, so only regular files get it.
    struct stat before {};
    const bool isSpecial = ::stat(path.c_str(), &before) == 0 && !S_ISREG(before.st_mode);
    const int access = isSpecial ? O_WRONLY : O_RDWR;
    FileDescriptor file(
        ::open(path.c_str(), access | O_CREAT | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0644));
    struct stat target {};
    struct stat origin {};
    if (!file.IsOpen() || ::fstat(file.Get(), &target) != 0 || ::fstat(source, &origin) != 0)
        return false;
    m_isRegular = S_ISREG(target.st_mode);
    if (m_isRegular) {
        if (IsSameFile(target, origin)) {
            errno = EINVAL;
            return false;
        }
        // The side file goes first: it must never speak of a recording that is not there.
        if (!RemoveIfThere(ts::ChannelLogPath(path)) || ::ftruncate(file.Get(), 0) != 0)
            return false;
    }
    m_path = path;
    m_file = std::move(file);
    m_size = 0;
    return true;
}

bool RecordingSink::Write(const std::uint8_t *packets, std::size_t size,
                          const WaitForRoom &waitForRoom) {
    while (size > 0) {
        const ssize_t written = ::write(m_file.Get(), packets, size);
        if (written >= 0) {
            packets += written;
            size -= static_cast<std::size_t>(written);
            m_size += static_cast<std::uint64_t>(written);
            continue;
        }
        if (errno == EINTR || (errno == EAGAIN && waitForRoom(m_file.Get())))
            continue;
        CutToWholePackets();
        return false;
    }
    return true;
}

void RecordingSink::CutToWholePackets() {
    const int reason = errno;
    const std::uint64_t whole = m_size - m_size % ts::kPacketSize;
    if (m_isRegular && ::ftruncate(m_file.Get(), static_cast<off_t>(whole)) == 0)
        m_size = whole;
    errno = reason;
}

bool RecordingSink::AddStretch(std::int64_t timeMs, const TvChannelInfo &info) {
    return !m_isRegular || ts::AppendChannelLog(m_path, {timeMs, m_size, info});
}

RecorderCode RecordingSink::SwapTo(const std::string &path) {
    if (!m_isRegular)
        return kRecorderNotTimeshift;
    // An empty file of the new name reserves it: nothing that exists is ever replaced.
    FileDescriptor target(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (!target.IsOpen())
        return errno == EEXIST ? kRecorderFileExists : kRecorderWriteFailed;

    // The side file is there before the recording has its new name, and the old one goes last, so
    // that the recording has its channel information at every moment.
    const std::vector<ts::ChannelStretch> stretches = ts::ReadChannelLog(m_path);
    const bool isLogged = stretches.empty() ? RemoveIfThere(ts::ChannelLogPath(path))
                                            : ts::WriteChannelLog(path, stretches);
    if (!isLogged || !MoveInto(target, path)) {
        ::unlink(path.c_str());
        ::unlink(ts::ChannelLogPath(path).c_str());
        return kRecorderWriteFailed;
    }
    RemoveIfThere(ts::ChannelLogPath(m_path));
    m_path = path;
    return kRecorderOk;
}

/// Renames over the reserved file, or fills it when it lies on another file system.
bool RecordingSink::MoveInto(FileDescriptor &target, const std::string &path) {
    if (std::rename(m_path.c_str(), path.c_str()) == 0)
        return true;
    if (errno != EXDEV || !Copy(m_file.Get(), target.Get(), m_size))
        return false;
    RemoveIfThere(m_path);
    m_file = std::move(target);
    return true;
}

bool RecordingSink::Close() {
    const bool isSynchronised = !m_isRegular || ::fsync(m_file.Get()) == 0;
    return m_file.Close() && isSynchronised;
}

}  // namespace tvdesktop
