// A recorder under any sequence of requests, callbacks and queries, on a platform that fails at
// will.
#include "ControlInput.h"
#include "MoxPvrRecord/MoxPvrRecord.h"

namespace {

constexpr int kMostSteps = 32;  // the list of PIDs grows with every step and is logged each time

void Request(CMOXPVRRecorder &recorder, FuzzedDataProvider &input) {
    SendRequest(input, {19, {10, 13}, sizeof "0123456789abcdef"},
                [&](ControlInput &request, unsigned int &length, unsigned char *reply) {
                    const unsigned int result =
                        recorder.CtrlRecorder(request.announced(), request.text(), length, reply);
                    if (request.text() != nullptr) {
                        const std::string end = "inData[" + request.Shown() + "]";
                        const std::string &line = Platform().firstMessage();
                        Require(line.size() > end.size() &&
                                    line.compare(line.size() - end.size(), end.size(), end) == 0,
                                "a request is logged up to its announced length");
                    }
                    return result;
                });
}

void Callback(CMOXPVRRecorder & /*recorder*/, FuzzedDataProvider &input) {
    const auto type = static_cast<TVCallbackType>(input.ConsumeIntegralInRange(30, 36));
    void *const user =
        input.ConsumeIntegral<std::uint8_t>() == 0xFF ? nullptr : Platform().callbackUser;
    if (type == TV_PLAYER_CALLBACK_ASM_COMMAND) {
        auto command = TakeStruct<TvStreamAsmSoundCommand>(input);
        Platform().callback(type, user, &command);
    } else {
        Platform().callback(type, user, TakeMessage(input).get());
    }
}

void Query(CMOXPVRRecorder &recorder, FuzzedDataProvider & /*input*/) {
    std::string name;
    unsigned long long service = 0;
    MOXHandle handle;
    long position = 0;
    IMOXPVRRecorder::ePvrRecordState state{};
    Require(recorder.GetFileName(name) == 0 && name.size() < 256, "file names are bounded");
    Require(recorder.GetServiceId(service) == 0 && recorder.GetMoxHandle(handle) == 0,
            "a recorder knows itself");
    Require(recorder.GetState(state) == 0 && state <= IMOXPVRRecorder::E_RECORD_STATE_STOPPED,
            "states are the documented ones");
    recorder.GetRecordProgress(position);
    recorder.DoTvpCallback(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR, nullptr, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/) {
    InitializeMessages();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr void (*kSteps[])(CMOXPVRRecorder &, FuzzedDataProvider &) = {Request, Request,
                                                                           Callback, Query};
    FuzzedDataProvider input(data, size);
    CMOXPVRRecorder recorder;
    Platform().Script(input);
    recorder.Initilize(MOXHandle{PROFILE_TYPE_RECORD, 0}, input.ConsumeBool() ? nullptr : kRecorder,
                       input.ConsumeIntegral<int>());
    for (int step = 0; step < kMostSteps && input.remaining_bytes() > 0; ++step) {
        Platform().Script(input);
        input.PickValueInArray(kSteps)(recorder, input);
    }
    return 0;
}
