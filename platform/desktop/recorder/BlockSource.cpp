#include "recorder/BlockSource.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

namespace tvdesktop {

bool BlockSource::Open(const std::string &path) {
    // Standard input is shared with other processes, so it must not become non-blocking.
    FileDescriptor file(path == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                    : ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0)
        return false;
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    m_isRegular = S_ISREG(status.st_mode);
    m_file = std::move(file);
    return true;
}

bool BlockSource::HasSomething() const {
    pollfd wait = {m_file.Get(), POLLIN, 0};
    return m_isRegular || ::poll(&wait, 1, 0) > 0;
}

BlockSource::Status BlockSource::Read(std::uint8_t *to, std::size_t room, std::size_t &count) {
    if (!HasSomething())
        return Status::Wait;
    const ssize_t result = ::read(m_file.Get(), to, room);
    if (result > 0) {
        count = static_cast<std::size_t>(result);
        return Status::Data;
    }
    if (result == 0)
        return Status::End;
    return errno == EAGAIN || errno == EINTR ? Status::Wait : Status::Failed;
}

}  // namespace tvdesktop
