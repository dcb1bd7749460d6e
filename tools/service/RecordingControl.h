/// @file
/// One recording as the PVR service makes it: the requests, in their order.
#ifndef TOOLS_SERVICE_RECORDINGCONTROL_H
#define TOOLS_SERVICE_RECORDINGCONTROL_H

#include <TvDesktop.h>

#include <optional>
#include <string>
#include <vector>

#include "service/PvrService.h"
#include "service/RecordingInformation.h"
#include "service/Request.h"

namespace tool {

/// What of a service is recorded: its main streams, and everything else of it.
struct StreamSelection {
    recorder::SetDemuxProperty demux;
    std::vector<std::uint32_t> si;  ///< for an update: PAT, PMT and the other elementary streams
};

/// @throws Failure for a service with neither video nor audio
StreamSelection SelectStreams(const tvdesktop::Service &service);

/// What the information file of a recording of this service says.
RecordingInformation InformationOf(const tvdesktop::Service &service);

/// @throws Failure when the input cannot be read or holds no service
std::vector<tvdesktop::Service> ServicesOf(const std::string &input);

/// @return "Mox One (service 1)"
std::string TitleOf(const tvdesktop::Service &service);

/// Where a recorder writes.
struct SinkFile {
    std::string path;  ///< at most 255 bytes
    bool isTimeshift = false;
};

/// Owns the service's recorder from construction to destruction.
///
/// Threads: thread-bound. Requests that fail throw Failure.
class Recording {
  public:
    Recording(PvrService &service, const tvdesktop::RecorderOptions &options);
    ~Recording() { m_service.ReleaseRecorder(); }
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    /// Programs the sink and the streams and starts.
    /// @param durationMs  stream time after which the recording ends by itself
    void Begin(const tvdesktop::Service &broadcast, const SinkFile &sink,
               std::optional<std::int64_t> durationMs = std::nullopt);
    /// Follows a change to another service; the recording goes on.
    void ChangeTo(const tvdesktop::Service &broadcast);
    /// Turns the running timeshift buffer into a recording.
    void SwapTo(const std::string &path);
    /// Stops and forgets the PIDs.
    void End();

    /// @return what it failed of, with the file and the reason; empty when it did not
    std::string FailureReason() const { return m_service.RecorderFailure(); }

    Progress GetProgress() { return m_service.RecorderProgress(); }
    /// Once it has ended.
    tvdesktop::RecordingReport Report() const {
        return tvdesktop::GetRecordingReport(m_service.recorder());
    }

  private:
    void ProgramStreams(const tvdesktop::Service &broadcast);

    PvrService &m_service;
};

}  // namespace tool

#endif
