#include "service/Input.h"

#include <algorithm>

#include "Failure.h"
#include "text/Terminal.h"

namespace tool {

namespace {

using moxpvr::kNoPid;
using tvdesktop::StreamKind;

constexpr std::uint16_t kPatPid = 0;
constexpr std::uint16_t kNullPid = 0x1FFF;  ///< as a PCR PID: the service has no PCR

std::uint32_t PidOf(const tvdesktop::ElementaryStream *stream) {
    return stream != nullptr ? stream->pid : kNoPid;
}

bool Contains(const std::vector<std::uint32_t> &pids, std::uint32_t pid) {
    return std::find(pids.begin(), pids.end(), pid) != pids.end();
}

/// What that request makes the recorder keep: of a radio service not the PCR PID.
std::vector<std::uint32_t> KeptBy(const recorder::SetDemuxProperty &demux) {
    std::vector<std::uint32_t> kept = {demux.audioPid, demux.videoPid, demux.audioDescriptionPid};
    if (demux.videoPid != kNoPid)
        kept.push_back(demux.pcrPid);
    return kept;
}

}  // namespace

RecordedPids PidsToRecord(const tvdesktop::Service &service) {
    RecordedPids pids;
    recorder::SetDemuxProperty &demux = pids.demux;
    demux.videoPid = PidOf(service.First(StreamKind::Video));
    demux.audioPid = PidOf(service.First(StreamKind::Audio));
    demux.audioDescriptionPid = PidOf(service.First(StreamKind::AudioDescription));
    if (demux.videoPid == kNoPid && demux.audioPid == kNoPid)
        throw Failure("cannot record " + TitleOf(service) + ": it has neither video nor audio");
    if (service.pcrPid != kNullPid)
        demux.pcrPid = service.pcrPid;

    std::vector<std::uint32_t> kept = KeptBy(demux);
    const auto keep = [&](std::uint32_t pid) {
        if (Contains(kept, pid))
            return;
        kept.push_back(pid);
        pids.si.push_back(pid);
    };
    keep(kPatPid);
    keep(service.pmtPid);
    for (const tvdesktop::ElementaryStream &stream : service.streams)
        keep(stream.pid);
    if (demux.pcrPid != kNoPid)
        keep(demux.pcrPid);
    return pids;
}

std::vector<Request> ProgramOf(const tvdesktop::Service &service) {
    const RecordedPids pids = PidsToRecord(service);
    return {ChannelInfoRequest(tvdesktop::ChannelInfoOf(service)), pids.demux,
            UpdateRequest(pids.si)};
}

RecordingInformation InformationOf(const tvdesktop::Service &service) {
    const recorder::SetDemuxProperty demux = PidsToRecord(service).demux;
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

}  // namespace tool
