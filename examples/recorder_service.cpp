// A service that records: ten seconds of one service of a transport stream, then ten of another,
// into one file with its information file, which playback_service plays.
//
// On a TV the recorder and the channels come from the TV; here the stand-in makes and finds them
// (tvdesktop). Everything else is the same there.
#include <MoxPvr.h>
#include <MoxPvrAPI.h>
#include <MoxPvrProtocol.h>
#include <TvDesktop.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace {

namespace recorder = moxpvr::recorder;
using moxpvr::EventDetail;
using tvdesktop::Service;
using tvdesktop::StreamKind;

constexpr MOXHandle kRecorder{PROFILE_TYPE_RECORD, 0};
constexpr std::int32_t kLength = 20'000;        // milliseconds of stream time
constexpr std::uint32_t kChangeAfter = 10'000;  // likewise

// Events come on the threads of the platform. The service takes them on its own: no two calls of
// the library run at the same time.
class Inbox {
  public:
    void Put(EventDetail detail) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_details.push_back(detail);
        m_arrived.notify_one();
    }

    // @return None when nothing came for a moment
    EventDetail Take() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived.wait_for(lock, std::chrono::milliseconds(10),
                           [this] { return !m_details.empty(); });
        if (m_details.empty())
            return EventDetail::None;
        const EventDetail detail = m_details.front();
        m_details.pop_front();
        return detail;
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<EventDetail> m_details;
};

bool SendText(const char *name, unsigned int size, unsigned char *text) {
    unsigned int replySize = 0;
    const unsigned int result = mox_pvr_control_recording(size, text, replySize, nullptr);
    if (result != 0)
        std::fprintf(stderr, "%s was answered with %u\n", name, result);
    return result == 0;
}

template <typename Request>
bool Send(const Request &request) {
    moxpvr::RequestText text(request);
    return SendText(request.Name(), text.size(), text.data());
}

// Hands over the platform's record of the channel whole: the protocol names only some of its bytes.
bool SendChannelInfo(const TvChannelInfo &info) {
    using Request = recorder::SetChannelInfoProperty;
    std::vector<unsigned char> record = moxpvr::EncodeBytes(Request{});
    std::memcpy(&record[Request::PlatformRecord()], &info, sizeof info);
    std::vector<unsigned char> text(2 * record.size() + 1);
    unsigned int size = 0;
    build_buf_to_string(record.data(), static_cast<unsigned int>(record.size()), text.data(),
                        &size);
    return SendText(Request::Name(), size, text.data());
}

std::uint32_t PidOf(const Service &service, StreamKind kind) {
    const tvdesktop::ElementaryStream *const stream = service.First(kind);
    return stream != nullptr ? stream->pid : moxpvr::kNoPid;
}

// Names what to record: the main streams, then the tables and all others. Each PID once.
bool Program(const Service &service) {
    recorder::SetDemuxProperty pids;
    pids.videoPid = PidOf(service, StreamKind::Video);
    pids.audioPid = PidOf(service, StreamKind::Audio);
    pids.audioDescriptionPid = PidOf(service, StreamKind::AudioDescription);
    pids.pcrPid = service.pcrPid;
    recorder::UpdateSi others;
    others.pids.Add(0);  // PAT
    others.pids.Add(service.pmtPid);
    for (const tvdesktop::ElementaryStream &stream : service.streams)
        if (stream.pid != pids.videoPid && stream.pid != pids.audioPid &&
            stream.pid != pids.audioDescriptionPid && stream.pid != pids.pcrPid)
            others.pids.Add(stream.pid);
    // PIDs that were refused are in the recorder's list all the same: ClearDemuxInfo before the
    // next.
    return SendChannelInfo(tvdesktop::ChannelInfoOf(service)) && Send(pids) && Send(others);
}

// A change of channel inside the recording, which continues.
bool ChangeTo(const Service &service) {
    return Send(recorder::ClearDemuxInfo{}) && Program(service);
}

bool Start(const Service &service, const char *path) {
    recorder::SetHandle handle;
    handle.handle = 7;  // byte 0 of the events of this recorder
    handle.serviceId = service.id;
    recorder::SetSinkProperty file;
    recorder::SetDuration length;
    length.duration = kLength;
    return file.sink.path.Set(path) && Send(handle) && Send(file) && Program(service) &&
           Send(length) && Send(recorder::PreStart{}) && Send(recorder::Start{});
}

// Writes what a player needs to know of the recording before it opens it.
bool WriteInformation(const Service &service, std::string path) {
    moxpvr::InformationFile information;
    information.videoPid = PidOf(service, StreamKind::Video);
    information.audioPid = PidOf(service, StreamKind::Audio);
    information.pcrPid = service.pcrPid;
    std::vector<unsigned char> bytes(moxpvr::InformationFile::Size());
    moxpvr::Encode(information, bytes.data());
    path.replace(path.size() - 3, 3, "inf");  // in place of "srf"
    return tvdesktop::ReplaceFile(path, bytes.data(), bytes.size());
}

std::uint32_t Position() {
    moxpvr::RequestText question(recorder::GetProgress{});
    recorder::GetProgressReply progress;
    unsigned char reply[64];
    unsigned int size = 0;
    if (mox_pvr_control_recording(question.size(), question.data(), size, reply) == 0)
        moxpvr::DecodeText(reply, size, progress);
    return progress.position;
}

bool IsFailure(EventDetail detail) {
    return detail == EventDetail::RecorderError0 || detail == EventDetail::RecorderError2 ||
           detail == EventDetail::RecorderError4;
}

// @return whether the recording came to its end
bool Follow(Inbox &inbox, const Service &second) {
    bool isChanged = false;
    for (;;) {
        const EventDetail detail = inbox.Take();
        if (detail == EventDetail::RecorderApplication4)  // of the stand-in: the end
            return isChanged;
        if (IsFailure(detail)) {  // the recorder is as it was: Stop and ClearDemuxInfo follow
            std::fprintf(stderr, "the recorder failed\n");
            return false;
        }
        if (!isChanged && Position() >= kChangeAfter) {
            if (!ChangeTo(second))
                return false;
            isChanged = true;
        }
    }
}

// @return whether the recording is whole
bool RecordBoth(Inbox &inbox, const char *path, const Service &first, const Service &second) {
    if (!Start(first, path))
        return false;
    const bool isFollowed = WriteInformation(first, path) && Follow(inbox, second);
    const bool isStopped = Send(recorder::Stop{});  // otherwise the file may be incomplete
    return isFollowed && isStopped;
}

bool Record(void *tvRecorder, const char *path, const Service &first, const Service &second) {
    Inbox inbox;
    const int subscription = tvdesktop::Subscribe([&inbox](const tvdesktop::Event &event) {
        moxpvr::SysChangeEvent change;
        moxpvr::Decode(event.record.data(), event.record.size(), change);
        if (event.number == moxpvr::SIGNAL_PVR_SYS_CHANGE)
            inbox.Put(change.detail);
    });
    const bool isWhole =
        mox_pvr_set_recorder_handle(tvRecorder) == 0 && RecordBoth(inbox, path, first, second);
    Send(recorder::ClearDemuxInfo{});  // after a start that was refused, too
    // The platform's recorder goes first: its callback points to the library's instance.
    tvdesktop::DestroyRecorder(tvRecorder);
    MoxPvrAPI::DestroyRecorder(kRecorder);
    tvdesktop::Unsubscribe(subscription);
    return isWhole;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3 || std::strlen(argv[2]) < 4) {
        std::fprintf(stderr, "usage: %s TRANSPORT-STREAM RECORDING.srf\n", argv[0]);
        return 2;
    }
    tvdesktop::SetLogMinimumPriority(17);  // no log
    std::vector<Service> television;
    for (const Service &service : tvdesktop::ScanServices(argv[1]).services)
        if (service.First(StreamKind::Video) != nullptr)
            television.push_back(service);
    if (television.size() < 2) {
        std::fprintf(stderr, "%s has no two television services\n", argv[1]);
        return 1;
    }
    void *const tvRecorder = tvdesktop::CreateRecorder({argv[1], /*speed=*/20});
    return Record(tvRecorder, argv[2], television[0], television[1]) ? 0 : 1;
}
