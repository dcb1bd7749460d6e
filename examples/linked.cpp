// A service that is linked to the library: records the radio of the sample stream to a file.
#include <MoxPvr.h>
#include <MoxPvrProtocol.h>
#include <TvDesktop.h>

#include <cstdio>
#include <future>

namespace {

namespace recorder = moxpvr::recorder;

// Sends one request to the recorder: a record as hexadecimal text.
template <typename Request>
bool Send(const Request &request) {
    moxpvr::RequestText text(request);
    unsigned int replySize = 0;
    const unsigned int result =
        mox_pvr_control_recording(text.size(), text.data(), replySize, nullptr);
    if (result != 0)
        std::fprintf(stderr, "%s was answered with %u\n", request.Name(), result);
    return result == 0;
}

// Names who, where and what to record. The radio is service 2; its clock is in the audio.
bool SetUp(const char *path) {
    recorder::SetHandle handle;
    handle.handle = 7;
    handle.serviceId = 2;
    recorder::SetSinkProperty file;
    recorder::SetDemuxProperty pids;
    pids.audioPid = pids.pcrPid = 0x201;
    recorder::UpdateSi tables;
    tables.pids.Add(0);       // PAT
    tables.pids.Add(0x1001);  // PMT
    return file.sink.path.Set(path) && Send(handle) && Send(file) && Send(pids) && Send(tables);
}

// @return whether everything was recorded
bool Record(const char *path, std::future<bool> endOfSource) {
    if (!SetUp(path) || !Send(recorder::PreStart{}) || !Send(recorder::Start{}))
        return false;
    const bool isWhole = endOfSource.get();
    const bool isStopped = Send(recorder::Stop{});
    return Send(recorder::ClearDemuxInfo{}) && isStopped && isWhole;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s TRANSPORT-STREAM RECORDING\n", argv[0]);
        return 2;
    }
    tvdesktop::SetLogMinimumPriority(17);  // no log

    // In the stand-in application message 4 is the end of the source.
    std::promise<bool> ended;
    const int subscription = tvdesktop::Subscribe([&ended](const tvdesktop::Event &event) {
        if (event.number != moxpvr::SIGNAL_PVR_SYS_CHANGE)
            return;
        moxpvr::SysChangeEvent change;
        moxpvr::Decode(event.record.data(), event.record.size(), change);
        const bool isEnd = change.detail == moxpvr::EventDetail::RecorderApplication4;
        if (isEnd || change.detail == moxpvr::EventDetail::RecorderError0 ||
            change.detail == moxpvr::EventDetail::RecorderError2 ||
            change.detail == moxpvr::EventDetail::RecorderError4)
            ended.set_value(isEnd);
    });

    // On a TV the recorder comes from the TV; 0 is for as fast as the disk allows.
    void *recorder = tvdesktop::CreateRecorder({argv[1], 0});
    const bool recorded =
        mox_pvr_set_recorder_handle(recorder) == 0 && Record(argv[2], ended.get_future());

    tvdesktop::DestroyRecorder(recorder);
    tvdesktop::Unsubscribe(subscription);
    return recorded ? 0 : 1;
}
