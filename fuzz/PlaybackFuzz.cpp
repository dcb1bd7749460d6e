// A playback under any sequence of requests, interface calls and callbacks, on a platform that
// fails at will.
#include "ControlInput.h"
#include "MoxPvrPlayback/MoxPvrPlayback.h"

namespace {

constexpr int kMostSteps = 64;

using Playback = CMOXPVRPlayback;

void CheckResult(unsigned int result) {
    Require(result <= 1 || Platform().hasFailed(), "other results are the platform's own");
}

void Request(Playback &playback, FuzzedDataProvider &input) {
    SendRequest(input, {13, {9}, sizeof "0123456789abcdef01234567"},
                [&](ControlInput &request, unsigned int &length, unsigned char *reply) {
                    return playback.CtrlPlayback(request.announced(), request.text(), length,
                                                 reply);
                });
}

void Callback(Playback &playback, FuzzedDataProvider &input) {
    const auto type =
        static_cast<TVCallbackType>(input.PickValueInArray({16, 23, 30, 30, 30, 31, 32, -1}));
    auto property = std::make_unique<IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty>();
    property->SubEventType = input.ConsumeIntegralInRange(-1, 4);
    property->errCode = input.ConsumeIntegralInRange(-1, 4);
    property->timeCode = input.ConsumeIntegral<int>();
    playback.DoTvpCallback(type, input.ConsumeBool() ? nullptr : property.get());
    playback.DoTvpCallback(type, property.get(), nullptr);
}

void Message(Playback &playback, FuzzedDataProvider &input) {
    const MessagePointer message = TakeMessage(input);
    playback.AppCB(message.get());
    playback.ErrorCB(message.get());
    playback.UnmuteCB(static_cast<TVCallbackType>(input.PickValueInArray({16, 23, 30})),
                      message.get());
}

void SetThreePids(Playback &playback, FuzzedDataProvider &input) {
    struct Pids {
        unsigned int video, audio, pcr;
    };
    const auto pids = TakeStruct<Pids>(input);
    CheckResult(playback.SetPidProperty(pids.video, pids.audio, pids.pcr));
}

void SetPidsAndCodecs(Playback &playback, FuzzedDataProvider &input) {
    const auto streams = TakeStruct<IMOXPVRPlayback::MOXPVRPlaybackProperty>(input);
    CheckResult(playback.SetPidProperty(streams.videoPid, streams.videoType, streams.audioPid,
                                        streams.audioType, streams.pcrPid));
    CheckResult(playback.SetPlaybackProperty(streams));
}

void SelectStreams(Playback &playback, FuzzedDataProvider &input) {
    const auto video = TakeStruct<TSVideo>(input);
    const auto audio = TakeStruct<TSAudio>(input);
    if (input.ConsumeBool())
        CheckResult(playback.SetPidProperty(video, audio));
    else
        CheckResult(playback.SetPidProperty(video, audio, TakeStruct<EAudioSelectionType>(input)));
}

void SelectDescription(Playback &playback, FuzzedDataProvider &input) {
    CheckResult(playback.SetADProperty(TakeStruct<TSAudio>(input)));
    if (input.ConsumeBool())
        CheckResult(playback.DisableADProperty());
}

void Query(Playback &playback, FuzzedDataProvider & /*input*/) {
    std::string name;
    MOXHandle handle;
    IMOXPVRPlayback::ePvrPlaybackState state{};
    IMOXPVRPlayback::eRecordedFileType type{};
    long position = 0;
    long duration = 0;
    unsigned int pids[3] = {};
    Require(playback.GetFileName(name) == 0 && name.size() < 256, "file names are bounded");
    Require(playback.GetMoxHandle(handle) == 0, "a playback knows itself");
    Require(playback.GetState(state) == 0 && state <= IMOXPVRPlayback::E_PLAYBACK_STATE_STOPPED,
            "states are the documented ones");
    Require(playback.GetPlaybackProgress(position, duration) <= 1 &&
                playback.GetFileType(type) <= 1 &&
                playback.GetPidPropertyByUri(name, pids[0], pids[1], pids[2]) <= 1,
            "queries that ask no stream answer 0 or 1");
    CheckResult(playback.GetPidProperty(pids[0], pids[1], pids[2]));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
    InitializeMessages();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr void (*kSteps[])(Playback &, FuzzedDataProvider &) = {
        Request,          Request,       Callback,          Message, SetThreePids,
        SetPidsAndCodecs, SelectStreams, SelectDescription, Query};
    FuzzedDataProvider input(data, size);
    Playback playback;
    const auto missing = input.ConsumeIntegral<std::uint8_t>();
    playback.Initilize(MOXHandle{}, (missing & 1) != 0 ? nullptr : kPlayer,
                       (missing & 2) != 0 ? nullptr : kStream);
    for (int step = 0; step < kMostSteps && input.remaining_bytes() > 0; ++step) {
        Platform().Script(input);
        input.PickValueInArray(kSteps)(playback, input);
    }
    return 0;
}
