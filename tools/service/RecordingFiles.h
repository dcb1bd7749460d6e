/// @file
/// The files beside a recording: its side file, which the recorder writes, and its information
/// file, which the service writes.
#ifndef TOOLS_SERVICE_RECORDINGFILES_H
#define TOOLS_SERVICE_RECORDINGFILES_H

#include <MoxPvrProtocol.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// Path of the file that holds which channel information applies from when on.
std::string SideFilePath(const std::string &recording);

/// Path of the information file: the last three letters of the recording's path replaced by "inf".
/// @throws UsageError when the name has no extension of three letters or is an information file's
std::string InformationPath(const std::string &recording);

/// What the tool knows of a recording when it starts: what the library reads of it, and in bytes 0
/// to 63, which the library leaves to the service, the name of the service in UTF-8,
/// NUL-terminated.
struct RecordingInformation {
    std::string serviceName;  ///< cut at a character boundary when it does not fit
    moxpvr::InformationFile fields;
};

std::vector<std::uint8_t> EncodeInformation(const RecordingInformation &information);

/// Writes the information file of a recording, replacing an earlier one as a whole.
/// @throws Failure when it cannot be written
void WriteInformation(const std::string &recording, const RecordingInformation &information);

}  // namespace tool

#endif
