/// @file
/// The recording information file that lies beside every recording.
#ifndef TOOLS_INFORMATIONFILE_H
#define TOOLS_INFORMATIONFILE_H

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// What the tool knows of a recording when it starts.
///
/// Layout of the file, 10645 bytes, little-endian, every byte that is not named is 0:
///
/// | Offset | Width | Field |
/// |-------:|------:|-------|
/// |     0  |   64  | name of the service, UTF-8, NUL-terminated (written by this tool only) |
/// |   798  |    4  | video PID, 0xFFFFFFFF without video |
/// |   802  |    4  | PCR PID |
/// |   806  |    4  | audio PID, 0xFFFFFFFF without audio |
/// |   824  |    2  | ChannelType: 1 and 3 analogue, every other value digital |
struct RecordingInformation {
    std::string serviceName;  ///< cut at a character boundary when it does not fit
    std::uint32_t videoPid = 0xFFFFFFFF;
    std::uint32_t pcrPid = 0xFFFFFFFF;
    std::uint32_t audioPid = 0xFFFFFFFF;
    std::uint16_t channelType = 0;
};

/// Path of the information file: the last three letters of the recording's path replaced by "inf".
/// @throws WrongUse when the name has no extension of three letters or is an information file's
std::string InformationPath(const std::string &recording);

std::vector<std::uint8_t> EncodeInformation(const RecordingInformation &information);

/// Writes the file beside a recording, replacing an earlier one as a whole.
/// @throws Failure when it cannot be written
void WriteInformation(const std::string &recording, const RecordingInformation &information);

}  // namespace tool

#endif
