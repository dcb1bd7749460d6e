/// @file
/// The lock by which a recorder is known as the one that writes a file.
#ifndef TVDESKTOP_SYSTEM_WRITERLOCK_H
#define TVDESKTOP_SYSTEM_WRITERLOCK_H

#include <fcntl.h>

#include <cerrno>

namespace tvdesktop {

namespace detail {

static_assert(sizeof(off_t) == 8, "locks of open file descriptions need _FILE_OFFSET_BITS=64");

inline struct flock WholeFile(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

}  // namespace detail

/// Takes the lock for an open file description: it is held until the last descriptor of it closes,
/// and by nobody else, in this process neither. A file system without locks gives it to everybody.
/// @param file  open for writing
/// @return false when another one holds it
inline bool TakeWriterLock(int file) {
    struct flock lock = detail::WholeFile(F_WRLCK);
    return ::fcntl(file, F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

/// Asks for the lock without taking anything, so nobody is kept from it.
/// @param file  open for reading, by a description that does not hold the lock
/// @return whether somebody holds it; false on a file system without locks
inline bool HasWriter(int file) {
    struct flock lock = detail::WholeFile(F_RDLCK);
    return ::fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace tvdesktop

#endif
