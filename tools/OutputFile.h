/// @file
/// Where a recording may be written.
#ifndef TOOLS_OUTPUTFILE_H
#define TOOLS_OUTPUTFILE_H

#include <string>

namespace tool {

/// @return whether the path names something that is no file, such as a device or a pipe; it then
///         gets no information file
bool IsDevice(const std::string &path);

/// Makes sure that nothing is lost by recording `input` to `path`.
/// @throws WrongUse for a name that cannot be a recording's; Failure for a file that is there
///         already (unless `force`), for the input itself and for a missing directory
void CheckOutput(const std::string &path, const std::string &input, bool force);

}  // namespace tool

#endif
