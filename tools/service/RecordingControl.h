/// @file
/// One recording as the PVR service makes it: the requests, in their order.
#ifndef TOOLS_SERVICE_RECORDINGCONTROL_H
#define TOOLS_SERVICE_RECORDINGCONTROL_H

#include <TvDesktop.h>

#include <optional>
#include <string>
#include <vector>

#include "service/PvrService.h"

namespace tool {

/// Where a recorder writes.
struct SinkFile {
    std::string path;  ///< at most 255 bytes
    bool isTimeshift = false;
};

/// Owns the service's recorder from construction to destruction.
///
/// Threads: thread-bound. Requests that fail throw Failure.
class RecordingControl {
  public:
    RecordingControl(PvrService &pvr, const tvdesktop::RecorderOptions &options);
    ~RecordingControl() { m_pvr.ReleaseRecorder(); }
    RecordingControl(const RecordingControl &) = delete;
    RecordingControl &operator=(const RecordingControl &) = delete;

    /// Programs the sink and the streams and starts.
    /// @param durationMs  stream time after which the recording ends by itself
    void Start(const tvdesktop::Service &service, const SinkFile &sink,
               std::optional<std::int64_t> durationMs = std::nullopt);
    /// Follows a change to another service, or of the streams of this one; the recording continues.
    /// Programs nothing for a service that is recorded with the same requests. One that cannot be
    /// recorded throws Failure before anything was sent.
    void ChangeTo(const tvdesktop::Service &service);
    /// Turns the running timeshift buffer into a recording.
    void SwapTo(const std::string &path);
    /// Stops and forgets the PIDs.
    void Stop();

    /// @return why it failed, with the file and the reason; empty when it did not
    std::string FailureReason() const { return m_pvr.RecorderFailure(); }

    Progress GetProgress() { return m_pvr.RecorderProgress(); }
    /// Once it has ended.
    tvdesktop::RecordingReport Report() const {
        return tvdesktop::GetRecordingReport(m_pvr.Recorder());
    }

  private:
    void SendProgram(std::vector<Request> program);

    PvrService &m_pvr;
    std::vector<Request> m_program;  ///< sent last
};

}  // namespace tool

#endif
