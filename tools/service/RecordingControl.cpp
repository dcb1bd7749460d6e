#include "service/RecordingControl.h"

#include "Failure.h"
#include "service/Input.h"

namespace tool {

namespace {

constexpr std::uint8_t kRecorderNumber = 1;

}  // namespace

RecordingControl::RecordingControl(PvrService &pvr, const tvdesktop::RecorderOptions &options)
    : m_pvr(pvr) {
    m_pvr.TakeRecorder(tvdesktop::CreateRecorder(options));
}

void RecordingControl::Start(const tvdesktop::Service &service, const SinkFile &sink,
                             std::optional<std::int64_t> durationMs) {
    m_pvr.Do(recorder::SetHandle{kRecorderNumber, service.id});
    m_pvr.Do(recorder::SetSinkProperty{{PathField(sink.path), sink.isTimeshift ? 1 : 0}});
    ProgramStreams(service);
    if (durationMs)
        m_pvr.Do(recorder::SetDuration{static_cast<std::int32_t>(*durationMs)});
    m_pvr.Do(recorder::PreStart{});
    m_pvr.Do(recorder::Start{});
}

void RecordingControl::ChangeTo(const tvdesktop::Service &service) {
    m_pvr.Do(recorder::ClearDemuxInfo{});
    ProgramStreams(service);
}

void RecordingControl::SwapTo(const std::string &path) {
    m_pvr.Do(recorder::SwapTS2Record{{PathField(path)}});
}

void RecordingControl::Stop() {
    const Reply stopped = m_pvr.Send(recorder::Stop{});
    m_pvr.Send(recorder::ClearDemuxInfo{});
    if (stopped.result != 0)
        throw Failure(m_pvr.FailureText(recorder::Stop{}, stopped));
}

void RecordingControl::ProgramStreams(const tvdesktop::Service &service) {
    const RecordedPids pids = PidsToRecord(service);
    m_pvr.Do(ChannelInfoRequest(tvdesktop::ChannelInfoOf(service)));
    m_pvr.Do(pids.demux);
    m_pvr.Do(UpdateRequest(pids.si));
}

}  // namespace tool
