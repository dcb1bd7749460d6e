/// @file
/// Opening of files that somebody else may have put there.
#ifndef TVDESKTOP_SYSTEM_REGULARFILE_H
#define TVDESKTOP_SYSTEM_REGULARFILE_H

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "system/FileDescriptor.h"

namespace tvdesktop {

/// Opens a regular file for reading and never waits: a pipe without a writer, a device or a
/// directory is refused, whether it is named itself or by a link. Reentrant.
/// @return closed on failure; errno tells why, ESPIPE for what is neither file nor directory
inline FileDescriptor OpenRegularFile(const std::string &path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0)
        return {};
    if (S_ISREG(status.st_mode))
        return file;
    file.Close();
    errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    return {};
}

/// @return "cannot read PATH: why", for a user
inline std::string CannotRead(const std::string &path, int error) {
    return "cannot read " + path + ": " +
           (error == ESPIPE ? "it is not a regular file" : std::strerror(error));
}

}  // namespace tvdesktop

#endif
