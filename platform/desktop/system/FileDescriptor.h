/// @file
/// An open file that closes itself.
#ifndef TVDESKTOP_SYSTEM_FILEDESCRIPTOR_H
#define TVDESKTOP_SYSTEM_FILEDESCRIPTOR_H

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

namespace tvdesktop {

/// Owns a file descriptor. Threads: thread-bound.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        if (this != &other) {
            Close();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }
    ~FileDescriptor() { Close(); }

    int Get() const { return m_descriptor; }
    bool IsOpen() const { return m_descriptor >= 0; }

    /// @return false when the system reports that written data was lost; errno holds the reason
    bool Close() { return m_descriptor < 0 || ::close(std::exchange(m_descriptor, -1)) == 0; }

  private:
    int m_descriptor = -1;
};

/// Writes everything, continuing after interruptions and short writes. Reentrant.
/// @return false on failure; errno holds the reason
inline bool WriteAll(int file, const void *data, std::size_t size) {
    const auto *bytes = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t written = ::write(file, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

}  // namespace tvdesktop

#endif
