/// @file
/// Files: new ones that take nobody's place by accident, and those that others may have put there.
#ifndef TVDESKTOP_SYSTEM_FILES_H
#define TVDESKTOP_SYSTEM_FILES_H

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "system/FileDescriptor.h"

namespace tvdesktop {

/// Opens a regular file that exists and never waits: a pipe without a writer, a device or a
/// directory is refused, whether it is named itself or by a link. Reentrant.
/// @param flags  of open(2)
/// @return closed on failure; errno holds the reason, ESPIPE for what is neither file nor directory
FileDescriptor OpenRegularFile(const std::string &path, int flags = O_RDONLY);

/// @return "cannot read PATH: why", for a user
std::string CannotRead(const std::string &path, int error);

/// Makes a file, open for reading and writing. What exists under the name stays, a link is not
/// followed. The umask decides who may read and write it, but never may everybody write.
/// @return not open on failure; errno holds the reason, EEXIST when the name is taken
FileDescriptor CreateFile(const std::string &path);

/// The same under a name that cannot be foreseen.
/// @param name  in: how the name begins, out: the whole of it
FileDescriptor CreateUniqueFile(std::string &name);

/// Writes a new file as a whole and brings it to the disk. On failure there is none.
/// @return false on failure; errno holds the reason, EEXIST when the name is taken
bool CreateFileWith(const std::string &path, const std::string &content);

/// Copies the first `size` bytes of a file to the position of another and brings them to the disk.
/// @return false on failure; errno holds the reason
bool CopyFile(int from, int to, std::uint64_t size);

/// Removes a file. @return true also when it did not exist
bool RemoveIfThere(const std::string &path);

bool IsSameFile(const struct stat &left, const struct stat &right);
/// @return whether a name is that of an open file; a link to it is not
bool IsNameOf(const std::string &path, int file);
/// @return whether a name, or the link of this name, leads to an open file
bool LeadsTo(const std::string &path, int file);

/// The folder of a path, "/" at its end; empty for the current one.
std::string FolderOf(const std::string &path);
/// Brings names that were given or taken in the folder of a path to the disk, as far as the file
/// system does this.
void SyncFolderOf(const std::string &path);

}  // namespace tvdesktop

#endif
