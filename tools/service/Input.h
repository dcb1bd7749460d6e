/// @file
/// The services of a transport stream, and what of them is recorded.
#ifndef TOOLS_SERVICE_INPUT_H
#define TOOLS_SERVICE_INPUT_H

#include <TvDesktop.h>

#include <cstdint>
#include <string>
#include <vector>

#include "service/RecordingFiles.h"
#include "service/Request.h"

namespace tool {

/// @throws Failure when the input cannot be read or holds no service
std::vector<tvdesktop::Service> ServicesOf(const std::string &input);

/// @return "Mox One (service 1)"
std::string TitleOf(const tvdesktop::Service &service);

/// What of a service is recorded: its main streams, and everything else of it.
struct RecordedPids {
    recorder::SetDemuxProperty demux;
    std::vector<std::uint32_t> si;  ///< for an update: PAT, PMT and the other elementary streams
};

/// @throws Failure for a service with neither video nor audio
RecordedPids PidsToRecord(const tvdesktop::Service &service);

/// The requests that make a recorder record a service, in their order.
/// @throws Failure for a service that cannot be recorded
std::vector<Request> ProgramOf(const tvdesktop::Service &service);

/// What the information file of a recording of this service holds.
RecordingInformation InformationOf(const tvdesktop::Service &service);

}  // namespace tool

#endif
