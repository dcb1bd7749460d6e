#include "system/Files.h"

#include <fcntl.h>
#include <sys/random.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "system/WriterLock.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

constexpr mode_t kMode = 0664;  ///< less the umask
constexpr int kAttempts = 100;  ///< to find a name that is free

/// @return 16 hexadecimal digits, empty when the system has no random numbers
std::string RandomDigits() {
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number)
        return "";
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(number));
    return digits;
}

/// Fills a file that was just made; on failure it goes again.
bool Fill(FileDescriptor &file, const std::string &path, const void *bytes, std::size_t size) {
    if (WriteAll(file.Get(), bytes, size) && ::fsync(file.Get()) == 0 && file.Close())
        return true;
    const int reason = errno;
    ::unlink(path.c_str());
    errno = reason;
    return false;
}

}  // namespace

FileDescriptor OpenRegularFile(const std::string &path, int flags) {
    FileDescriptor file(::open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0)
        return {};
    if (S_ISREG(status.st_mode))
        return file;
    file.Close();
    errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    return {};
}

std::string CannotRead(const std::string &path, int error) {
    return "cannot read " + path + ": " +
           (error == ESPIPE ? "it is not a regular file" : std::strerror(error));
}

FileDescriptor CreateFile(const std::string &path) {
    return FileDescriptor(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
}

FileDescriptor CreateUniqueFile(std::string &name) {
    const std::string begin = name;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const std::string digits = RandomDigits();
        if (digits.empty())
            break;
        name = begin + digits;
        FileDescriptor file = CreateFile(name);
        if (file.IsOpen() || errno != EEXIST)
            return file;
    }
    return {};
}

bool CreateFileWith(const std::string &path, const std::string &content) {
    FileDescriptor file = CreateFile(path);
    return file.IsOpen() && Fill(file, path, content.data(), content.size());
}

bool ReplaceFile(const std::string &path, const void *bytes, std::size_t size) {
    std::string temporary = FolderOf(path) + ".mox-pvr-";
    FileDescriptor file = CreateUniqueFile(temporary);
    if (!file.IsOpen() || !Fill(file, temporary, bytes, size))
        return false;
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int reason = errno;
        ::unlink(temporary.c_str());
        errno = reason;
        return false;
    }
    SyncFolderOf(path);
    return true;
}

bool IsBeingWritten(const std::string &path) {
    const FileDescriptor file = OpenRegularFile(path);
    return file.IsOpen() && HasWriter(file.Get());
}

bool CopyFile(int from, int to, std::uint64_t size) {
    std::vector<char> block(1 << 20);
    for (std::uint64_t offset = 0; offset < size;) {
        const std::uint64_t wanted = std::min<std::uint64_t>(block.size(), size - offset);
        const ssize_t count = ::pread(from, block.data(), static_cast<std::size_t>(wanted),
                                      static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count == 0)
            errno = EIO;  // it became shorter meanwhile
        if (count <= 0 || !WriteAll(to, block.data(), static_cast<std::size_t>(count)))
            return false;
        offset += static_cast<std::uint64_t>(count);
    }
    return ::fsync(to) == 0;
}

bool RemoveIfThere(const std::string &path) {
    return ::unlink(path.c_str()) == 0 || errno == ENOENT;
}

bool IsSameFile(const struct stat &left, const struct stat &right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

bool IsNameOf(const std::string &path, int file) {
    struct stat named {};
    struct stat opened {};
    return ::lstat(path.c_str(), &named) == 0 && ::fstat(file, &opened) == 0 &&
           IsSameFile(named, opened);
}

bool LeadsTo(const std::string &path, int file) {
    struct stat named {};
    struct stat opened {};
    return ::stat(path.c_str(), &named) == 0 && ::fstat(file, &opened) == 0 &&
           IsSameFile(named, opened);
}

std::string FolderOf(const std::string &path) {
    return path.substr(0, path.rfind('/') + 1);
}

void SyncFolderOf(const std::string &path) {
    const std::string folder = FolderOf(path);
    const FileDescriptor file(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (file.IsOpen())
        ::fsync(file.Get());
}

}  // namespace tvdesktop
