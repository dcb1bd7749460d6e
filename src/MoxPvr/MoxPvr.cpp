#include "MoxPvr.h"

#include "ControlRequest.h"
#include "LogLine.h"
#include "MoxPvrAPI.h"
#include "MoxPvrPlayback/MoxPvrPlayback.h"
#include "MoxPvrRecord/MoxPvrRecord.h"

using mox::kLogProgress;
using mox::kLogReport;

void *g_temp_tv_player = nullptr;
IMOXPVRPlayback *g_temp_playback = nullptr;
IMOXPVRRecorder *g_temp_recorder = nullptr;

namespace {

// The one playback and the one recorder that the entry points address.
constexpr MOXHandle kPlaybackHandle{PROFILE_TYPE_MAIN, 0};
constexpr MOXHandle kRecorderHandle{PROFILE_TYPE_RECORD, 0};

// Services built elsewhere keep handles with these numbers.
static_assert(PROFILE_TYPE_UNKNOWN == 0 && PROFILE_TYPE_MAIN == 1 && PROFILE_TYPE_PIP == 101 &&
              PROFILE_TYPE_DUAL == 201 && PROFILE_TYPE_RECORD == 301 &&
              PROFILE_TYPE_ANALYSIS == 401);

constexpr int kTunerIndex = 0;

constexpr int kRegistered = 0;
constexpr int kNotRegistered = 1;

/// Looks up the playback of a request. @return whether there is one
bool FindPlayback(mox::LogPlace place = mox::LogPlace::Here()) {
    g_temp_playback = MoxPvrAPI::GetPlaybackInstance(kPlaybackHandle);
    if (g_temp_playback == nullptr)
        MOX_LOG_AT(place, kLogReport, "g_temp_playback is null, which should be set firstly\n");
    return g_temp_playback != nullptr;
}

}  // namespace

// --- Entry points --------------------------------------------------------------------------------

const char *mox_pvr_version() {
    return MOXPVR_VERSION;
}

unsigned int mox_pvr_set_tv_player(void *player) {
    MOX_LOG(kLogProgress, "g_temp_tv_player is set as [0x%x]\n", mox::Low32(player));
    g_temp_tv_player = player;
    return moxpvr::kSuccess;
}

unsigned int mox_pvr_set_tv_stream(void *stream) {
    MOX_LOG(kLogProgress, "g_temp_tv_player stream is set as [0x%x]\n", mox::Low32(stream));
    return static_cast<unsigned int>(
        MoxPvrAPI::SetPlaybackHandleStream(kPlaybackHandle, g_temp_tv_player, stream));
}

unsigned int mox_pvr_set_recorder_handle(void *recorder) {
    return static_cast<unsigned int>(
        MoxPvrAPI::SetRecorderHandle(kRecorderHandle, recorder, kTunerIndex));
}

unsigned int mox_pvr_control_playback(unsigned int inSize, unsigned char *inData,
                                      unsigned int &outSize, unsigned char *outData) {
    if (!FindPlayback())
        return moxpvr::kNoInstance;
    return g_temp_playback->CtrlPlayback(inSize, inData, outSize, outData);
}

unsigned int mox_pvr_set_playback_pid_property(void * /*unused*/, unsigned int videoPid,
                                               unsigned int audioPid, unsigned int pcrPid) {
    if (!FindPlayback())
        return moxpvr::kNoInstance;
    return g_temp_playback->SetPidProperty(videoPid, audioPid, pcrPid);
}

unsigned int mox_pvr_control_recording(unsigned int inSize, unsigned char *inData,
                                       unsigned int &outSize, unsigned char *outData) {
    g_temp_recorder = MoxPvrAPI::GetRecorderInstance(kRecorderHandle);
    if (g_temp_recorder == nullptr) {
        MOX_LOG(kLogReport, "g_temp_recorder is null, which should be set firstly\n");
        return moxpvr::kNoInstance;
    }
    return g_temp_recorder->CtrlRecorder(inSize, inData, outSize, outData);
}

// --- Facade --------------------------------------------------------------------------------------

int MoxPvrAPI::SetPlaybackHandleStream(MOXHandle handle, void *player, void *stream) {
    CMOXPVRPlaybackMgr *registry = CMOXPVRPlaybackMgr::GetInstance();
    if (registry == nullptr)
        return kNotRegistered;
    return registry->SetPlaybackHandleStream(handle, player, stream) != nullptr ? kRegistered
                                                                                : kNotRegistered;
}

IMOXPVRPlayback *MoxPvrAPI::GetPlaybackInstance(MOXHandle handle) {
    CMOXPVRPlaybackMgr *registry = CMOXPVRPlaybackMgr::GetInstance();
    return registry != nullptr ? registry->GetPlaybackInstance(handle) : nullptr;
}

int MoxPvrAPI::DestroyPlayback(MOXHandle handle) {
    CMOXPVRPlaybackMgr *registry = CMOXPVRPlaybackMgr::GetInstance();
    return registry != nullptr ? registry->Destroy(handle) : 0;
}

int MoxPvrAPI::SetRecorderHandle(MOXHandle handle, void *recorder, int tunerIndex) {
    CMOXPVRRecorderMgr *registry = CMOXPVRRecorderMgr::GetInstance();
    if (registry == nullptr)
        return kNotRegistered;
    return registry->SetRecorderHandle(handle, recorder, tunerIndex) != nullptr ? kRegistered
                                                                                : kNotRegistered;
}

IMOXPVRRecorder *MoxPvrAPI::GetRecorderInstance(MOXHandle handle) {
    CMOXPVRRecorderMgr *registry = CMOXPVRRecorderMgr::GetInstance();
    return registry != nullptr ? registry->GetRecorderInstance(handle) : nullptr;
}

int MoxPvrAPI::DestroyRecorder(MOXHandle handle) {
    CMOXPVRRecorderMgr *registry = CMOXPVRRecorderMgr::GetInstance();
    return registry != nullptr ? registry->Destroy(handle) : 0;
}
