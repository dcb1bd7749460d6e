#include "service/RecordingControl.h"

#include <algorithm>

#include "Failure.h"
#include "text/Terminal.h"

namespace tool {

namespace {

using moxpvr::kNoPid;

constexpr std::uint8_t kRecorderNumber = 1;
constexpr std::uint16_t kPatPid = 0;
constexpr std::uint16_t kNullPid = 0x1FFF;  ///< as a PCR PID: the service has no PCR

using tvdesktop::StreamKind;

std::uint32_t PidOf(const tvdesktop::ElementaryStream *stream) {
    return stream != nullptr ? stream->pid : kNoPid;
}

bool Contains(const std::vector<std::uint32_t> &pids, std::uint32_t pid) {
    return std::find(pids.begin(), pids.end(), pid) != pids.end();
}

/// What that request makes the recorder keep: for a radio service the PCR PID is not looked at.
std::vector<std::uint32_t> KeptBy(const recorder::SetDemuxProperty &demux) {
    std::vector<std::uint32_t> kept = {demux.audioPid, demux.videoPid, demux.audioDescriptionPid};
    if (demux.videoPid != kNoPid)
        kept.push_back(demux.pcrPid);
    return kept;
}

}  // namespace

StreamSelection SelectStreams(const tvdesktop::Service &service) {
    StreamSelection selection;
    recorder::SetDemuxProperty &demux = selection.demux;
    demux.videoPid = PidOf(service.First(StreamKind::Video));
    demux.audioPid = PidOf(service.First(StreamKind::Audio));
    demux.audioDescriptionPid = PidOf(service.First(StreamKind::AudioDescription));
    if (demux.videoPid == kNoPid && demux.audioPid == kNoPid)
        throw Failure(TitleOf(service) + " has neither video nor audio.");
    if (service.pcrPid != kNullPid)
        demux.pcrPid = service.pcrPid;

    std::vector<std::uint32_t> kept = KeptBy(demux);
    const auto keep = [&](std::uint32_t pid) {
        if (Contains(kept, pid))
            return;
        kept.push_back(pid);
        selection.si.push_back(pid);
    };
    keep(kPatPid);
    keep(service.pmtPid);
    for (const tvdesktop::ElementaryStream &stream : service.streams)
        keep(stream.pid);
    if (demux.pcrPid != kNoPid)
        keep(demux.pcrPid);
    return selection;
}

RecordingInformation InformationOf(const tvdesktop::Service &service) {
    const recorder::SetDemuxProperty demux = SelectStreams(service).demux;
    return {service.name, {demux.videoPid, demux.pcrPid, demux.audioPid}};
}

std::vector<tvdesktop::Service> ServicesOf(const std::string &input) {
    const StopAtOnce nothingToEnd;
    tvdesktop::ScanResult scan = tvdesktop::ScanServices(input);
    if (!scan.error.empty())
        throw Failure(scan.error);
    return std::move(scan.services);
}

std::string TitleOf(const tvdesktop::Service &service) {
    const std::string id = "service " + std::to_string(service.id);
    return service.name.empty() ? id : service.name + " (" + id + ")";
}

Recording::Recording(PvrService &service, const tvdesktop::RecorderOptions &options)
    : m_service(service) {
    m_service.TakeRecorder(tvdesktop::CreateRecorder(options));
}

void Recording::Begin(const tvdesktop::Service &broadcast, const SinkFile &sink,
                      std::optional<std::int64_t> durationMs) {
    m_service.Do(recorder::SetHandle{kRecorderNumber, broadcast.id});
    m_service.Do(recorder::SetSinkProperty{{PathField(sink.path), sink.isTimeshift ? 1 : 0}});
    ProgramStreams(broadcast);
    if (durationMs)
        m_service.Do(recorder::SetDuration{static_cast<std::int32_t>(*durationMs)});
    m_service.Do(recorder::PreStart{});
    m_service.Do(recorder::Start{});
}

void Recording::ChangeTo(const tvdesktop::Service &broadcast) {
    m_service.Do(recorder::ClearDemuxInfo{});
    ProgramStreams(broadcast);
}

void Recording::SwapTo(const std::string &path) {
    m_service.Do(recorder::SwapTS2Record{{PathField(path)}});
}

void Recording::End() {
    const Reply stopped = m_service.Send(recorder::Stop{});
    m_service.Send(recorder::ClearDemuxInfo{});
    if (stopped.result != 0)
        throw Failure(m_service.FailureText(recorder::Stop{}, stopped));
}

void Recording::ProgramStreams(const tvdesktop::Service &broadcast) {
    const StreamSelection streams = SelectStreams(broadcast);
    m_service.Do(ChannelInfoRequest(tvdesktop::ChannelInfoOf(broadcast)));
    m_service.Do(streams.demux);
    m_service.Do(UpdateRequest(streams.si));
}

}  // namespace tool
