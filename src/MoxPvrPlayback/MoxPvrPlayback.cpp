#include "MoxPvrPlayback/MoxPvrPlayback.h"

#include <TIUserDataManager.h>
#include <tv_player.h>
#include <tv_stream.h>
#include <TVPlayerDataUtil.h>
#include <unistd.h>

#include <chrono>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "ControlRequest.h"
#include "EventRecord.h"
#include "GstError.h"
#include "MoxPvrPlayback/InformationFile.h"
#include "MoxPvrPlayback/RecordedChannel.h"

using mox::kLogProgress;
using mox::kLogReport;
using mox::kLogTrace;
using mox::LogPlace;
using moxpvr::EventDetail;
using Recovery = mox::ChannelChange::Recovery;

namespace protocol = moxpvr::playback;

namespace {

constexpr double kNormalRate = 1.0;

/// How long a channel change may wait for its unmute before the next request ends the wait.
constexpr std::chrono::milliseconds kLongestChannelChange{5000};

/// The user data of every playback is followed under this handle.
constexpr MOXHandle kUserDataHandle{PROFILE_TYPE_MAIN, 20};

/// What ResetChannel answers for the channel that is set up. A platform's own -1 counts the same.
constexpr int kSameChannel = -1;

constexpr int kNoDescriptionPid = moxpvr::kNoPid16;
constexpr int kNoDescriptionCodec = -1;

/// Korean 3D mode and format numbers of the platform.
constexpr int kKorean3dOff = 0;
constexpr int kKorean3dOn = 1;
constexpr int kNo3dFormat = -1;
constexpr int kKorean3dFormat = 6;
constexpr int k3dModeOn = 1;

unsigned int ToResult(int platformResult) {
    return static_cast<unsigned int>(platformResult);
}

}  // namespace

// --- Control requests ----------------------------------------------------------------------------

namespace {

using mox::Call;
using Playback = CMOXPVRPlayback;

unsigned int ResetAll(CMOXPVRPlayback &playback, const mox::ControlArguments & /*arguments*/) {
    return playback.Reset(false);
}

constexpr mox::ControlCommand<CMOXPVRPlayback> kCommands[] = {
    /*  1 */ {Call<&Playback::SetHandle>, false},
    /*  2 */ {Call<&Playback::SetProperty>, false},
    /*  3 */ {Call<&Playback::Start>, false},
    /*  4 */ {Call<&Playback::Pause>, false},
    /*  5 */ {Call<&Playback::Resume>, false},
    /*  6 */ {Call<&Playback::TrickPlay>, false},
    /*  7 */ {Call<&Playback::Skip>, false},
    /*  8 */ {Call<&Playback::Stop>, false},
    /*  9 */ {Call<&Playback::GetProgress>, true},
    /* 10 */ {Call<&Playback::StepFrame>, false},
    /* 11 */ {Call<&Playback::Ready>, false},
    /* 12 */ {ResetAll, false},
    /* 13 */ {Call<&Playback::AllPidDescrambled>, false},
};
static_assert(std::size(kCommands) ==
              static_cast<std::size_t>(protocol::Command::AllPidDescrambled));

}  // namespace

unsigned int CMOXPVRPlayback::CtrlPlayback(unsigned int inSize, unsigned char *inData,
                                           unsigned int &outSize, unsigned char *outData) {
    if (inSize == 0 || inData == nullptr)
        return moxpvr::kBadRequest;
    mox::ControlRequest request;
    if (!request.Decode(inData, inSize))
        return moxpvr::kBadRequest;
    MOX_LOG(kLogProgress, "CMOXPVRPlayback | play command [%d]\n", request.Command());
    const auto *command = mox::FindCommand(kCommands, request.Command());
    if (command == nullptr) {
        MOX_LOG(kLogReport, "[FAT] CMOXPVRPlayback | error command \n");
        return moxpvr::kBadRequest;
    }
    const auto result = mox::Run(*command, *this, {request.record(), outData, &outSize});
    if (!result)
        MOX_LOG(kLogReport, "[FAT] CMOXPVRPlayback | out of memory\n");
    return result.value_or(moxpvr::kMissing);
}

// --- Lifecycle -----------------------------------------------------------------------------------

void CMOXPVRPlayback::Initilize(MOXHandle handle, void *player, void *stream) {
    MOX_LOG(kLogProgress, "Initilize | this func is started\n");
    m_instanceHandle = handle;
    m_tv_player = player;
    m_tv_stream = stream;
    MOX_LOG(kLogReport, "[FAT]Initilize | m_tv_player[0x%x]\n", mox::Low32(m_tv_player));
    MOX_LOG(kLogReport, "[FAT] Initilize | m_tv_stream[0x%x]\n", mox::Low32(m_tv_stream));
    MOX_LOG(kLogProgress, "Initilize | this func is ended\n");
}

bool CMOXPVRPlayback::HasPlayer(LogPlace place) const {
    if (m_tv_player != nullptr)
        return true;
    MOX_LOG_AT(place, kLogReport, "failed [%s]\n\n", "m_tv_player");
    return false;
}

unsigned int CMOXPVRPlayback::SetHandle(unsigned char *record) {
    MOX_LOG(kLogProgress, "SetHandle | this func is started, LastModifyDate[2015-03-16 02:45]\n");
    if (record == nullptr)
        return moxpvr::kMissing;
    const auto request = mox::Read<protocol::SetHandle>(record);
    MOX_LOG(kLogReport, "SetHandle | handle [%d] is_support_ci[%d]\n", request.handle, request.ci);
    m_nHandle = request.handle;
    m_bIsSupportCI = request.ci != 0;
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::SetProperty(unsigned char *record) {
    MOX_LOG(kLogProgress, "SetProperty | this func is started\n");
    if (record == nullptr) {
        MOX_LOG(kLogReport, "SetProperty | struct buf is NULL.\n");
        return moxpvr::kMissing;
    }
    const auto request = mox::Read<protocol::SetProperty>(record);
    char *uri = mox::PathIn(record, request.Path());
    std::string fileName(uri);
    m_nStartPos = request.startPosition;
    MOX_LOG(kLogReport, "SetProperty | Received playback uri is %s\n", uri);
    MOX_LOG(kLogReport, "SetProperty | Received start pos is %d\n", request.startPosition);
    MOX_LOG(kLogReport, "SetProperty | Received is_timeshift is %d\n", request.isTimeshift);
    MOX_LOG(kLogReport, "SetProperty | Received is_pastPlayback is %d\n", request.isPastPlayback);
    MOX_LOG(kLogReport, "SetProperty | Set3DMode off\n");
    tv_stream_set_kr3d_mode_format(m_tv_stream, kKorean3dOff, kNo3dFormat);
    m_bIsPastPlayback = request.isPastPlayback != 0;
    m_bIsTimeshift = request.isTimeshift != 0;
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_PVRSRC_URI, uri,
                           TV_PROPERTY_PVRSRC_START_POSITION, request.startPosition,
                           TV_PROPERTY_PVRSRC_IS_TIMESHIFT, request.isTimeshift, 0);
    m_strFileName = std::move(fileName);
    return OpenChannel();
}

/// Sets the stream up for the channel at the start position.
unsigned int CMOXPVRPlayback::OpenChannel(LogPlace place) {
    const mox::ChannelReading reading(m_tv_stream, m_nStartPos);
    if (reading.result != 0) {
        MOX_LOG_AT(place, kLogReport,
                   "[FAT] SetProperty | tv_stream_get_channel_info is called failed, result[%d]\n",
                   reading.result);
        return ToResult(reading.result);
    }
    if (!reading.HasRecord()) {
        MOX_LOG_AT(place, kLogReport, "SetProperty | channel_info_temp is NULL.\n");
        return moxpvr::kMissing;
    }
    const TvChannelInfo &info = reading.info;
    MOX_LOG_AT(place, kLogReport, "channel_info_temp->reserved[1]:%d\n", info.reserved[1]);
    m_bAllAudioPidDescrambled = info.reserved[1] == 0;
    if (m_bAllAudioPidDescrambled)
        MOX_LOG_AT(place, kLogReport, "all pids are descrambled\n");
    else
        MOX_LOG_AT(place, kLogReport, "only one audio pid is descrambled\n");
    if (mox::IsAudioOnly(info))
        m_bIsAudioChannel = true;  // and stays so for the life of the instance
    MOX_LOG_AT(place, kLogReport,
               "[FAT] SetProperty | Video Pid:0x%x, Audio Pid:0x%x,PCR pid:0x%x audioDecodeType:%d "
               "videoType:%d\n",
               info.videoPid, static_cast<unsigned int>(info.audioPid), info.pcrPid,
               info.audioCodecType, info.videoCodecType);
    m_bIsATV = mox::IsAnalogue(info);
    if (m_bIsATV)
        MOX_LOG_AT(place, kLogReport, "m_bIsATV[%d], it's analog recorded file\n", 1);
    else
        MOX_LOG_AT(place, kLogReport, "m_bIsATV[%d], it's not analog recorded file\n", 0);
    const int result = mox::ProgramPids(m_tv_stream, info, m_bIsAudioChannel);
    RememberChannel(info);
    MOX_LOG_AT(place, kLogProgress, "SetProperty | this func is ended, result [%d]\n", result);
    return ToResult(result);
}

/// Keeps what the decoders are set up for.
void CMOXPVRPlayback::RememberChannel(const TvChannelInfo &info) {
    m_uVideoPid = info.videoPid;
    m_uAudioPid = static_cast<unsigned int>(info.audioPid);
    m_uPcrPid = info.pcrPid;
    m_eVideoCodecType = info.videoCodecType;
    m_eAudioCodecType = info.audioCodecType;
    m_usChannelVideoPid = info.videoPid;
    m_ucChannelVideoType = info.videoCodecType;
    m_nChannelAudioPid = info.audioPid;
}

unsigned int CMOXPVRPlayback::Start() {
    MOX_LOG(kLogProgress, "Start | this func is started\n");
    const int result = tv_stream_start(m_tv_stream);
    MOX_LOG(kLogReport, "Start | tv_player_start is ended, result [%d]\n", result);
    TIUserDataManager *userData = TIUserDataManager::Instance(kUserDataHandle);
    const int followed = userData != nullptr ? userData->Start(m_tv_stream, 1) : 0;
    MOX_LOG(kLogReport,
            "Start | TIUserDataManager::Instance()->Start is called, "
            "m_tv_stream[0x%x]bResult[%d]\n",
            mox::Low32(m_tv_stream), followed);
    if (result == 0 && m_bIsSupportCI)
        m_ePlaybackState = E_PLAYBACK_STATE_PLAY;
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::Stop() {
    MOX_LOG(kLogProgress, "Stop | this func is started\n");
    if (!HasPlayer())
        return moxpvr::kMissing;
    TIUserDataManager *userData = TIUserDataManager::Instance(kUserDataHandle);
    const int left = userData != nullptr ? userData->Stop() : 0;
    MOX_LOG(kLogReport, "TIUserDataManager::Instance()->Stop is called, bResult[%d]\n", left);
    const int result = tv_stream_stop(m_tv_stream);
    MOX_LOG(kLogReport, "Stop | this func is ended, result [%d]\n", result);
    if (result == 0 && m_bIsSupportCI)
        m_ePlaybackState = E_PLAYBACK_STATE_STOPPED;
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::Ready() {
    if (!HasPlayer())
        return moxpvr::kMissing;
    const int result = tv_player_ready(m_tv_player);
    MOX_LOG(kLogReport, "Ready | this func is ended, result [%d]\n", result);
    if (result == 0 && m_bIsSupportCI)
        m_ePlaybackState = E_PLAYBACK_STATE_PAUSED;
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::Pause() {
    if (!HasPlayer())
        return moxpvr::kMissing;
    const int result = tv_player_pause(m_tv_player);
    MOX_LOG(kLogReport, "Pause | this func is ended, result [%d]\n", result);
    if (result == 0)
        m_ePlaybackState = E_PLAYBACK_STATE_PAUSED;
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::Resume() {
    if (!HasPlayer())
        return moxpvr::kMissing;
    const int result = tv_player_resume(m_tv_player);
    MOX_LOG(kLogReport, "Resume | this func is ended, result [%d]\n", result);
    if (result == 0)
        m_ePlaybackState = E_PLAYBACK_STATE_PLAY;
    return ToResult(result);
}

// --- Trick play and progress ---------------------------------------------------------------------

unsigned int CMOXPVRPlayback::TrickPlay(unsigned char *record) {
    MOX_LOG(kLogProgress, "TrickPlay | this func is started\n");
    if (!HasPlayer() || record == nullptr)
        return moxpvr::kMissing;
    if (WaitsForUnmute()) {
        MOX_LOG(kLogReport, "[ZZZ]Previous CHANNELCHANGED not finished: %d, ignore trick\n", 1);
        return moxpvr::kSuccess;
    }
    const auto [time, rate] = mox::Read<protocol::TrickPlay>(record);
    if (rate != kNormalRate)
        m_bTrickMode = true;
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_AUDIO_SINK_MUTE, 1, 0);
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_VIDEO_STILL_MODE, 1, 0);
    MOX_LOG(kLogReport, "TrickPlay | Received the trick play event with rate @mox-pvr %f\n", rate);
    m_change.SetRate(rate);  // first: playback at this rate may run into another stretch at once
    const int result = tv_player_set_play_speed(m_tv_player, static_cast<long long>(time), rate);
    MOX_LOG(kLogReport, "TrickPlay | this func is ended, result [%d]\n", result);
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::StepFrame(unsigned char * /*record*/, void * /*reply*/,
                                        unsigned int * /*replyLength*/) {
    MOX_LOG(kLogProgress, "StepFrame | this func is called\n");
    if (!HasPlayer())
        return moxpvr::kMissing;
    MOX_LOG(kLogReport, "StepFrame | set still mode to 0\n");
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_VIDEO_STILL_MODE, 0, 0);
    const int result = tv_player_step_play(m_tv_player);
    MOX_LOG(kLogProgress, "StepFrame | this func is ended, result [%d]\n", result);
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::GetProgress(void *reply, unsigned int *replyLength) {
    MOX_LOG(kLogProgress, "GetProgress | this func is started\n");
    if (!HasPlayer())
        return moxpvr::kMissing;
    long long position = 0;
    long long duration = 0;
    const int result = tv_player_get_position(m_tv_player, &position, &duration);
    MOX_LOG(kLogReport, "GetProgress | position[%lld] duration[%lld]\n", position, duration);
    mox::Answer(protocol::GetProgressReply{result, static_cast<std::uint32_t>(position),
                                           static_cast<std::uint32_t>(duration)},
                reply, replyLength);
    MOX_LOG(kLogProgress, "GetProgress | this func is ended, result [%d]\n", result);
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::GetPlaybackProgress(long &position, long &duration) {
    if (!HasPlayer())
        return moxpvr::kMissing;
    long long playerPosition = 0;
    long long playerDuration = 0;
    const int result = tv_player_get_position(m_tv_player, &playerPosition, &playerDuration);
    position = static_cast<long>(playerPosition);
    duration = static_cast<long>(playerDuration);
    MOX_LOG(kLogProgress, "position[%ld] duration[%ld]\n", position, duration);
    MOX_LOG(kLogProgress, "this func is ended, result [%d]\n", result);
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::GetState(ePvrPlaybackState &state) {
    MOX_LOG(kLogProgress, "m_ePlaybackState[%d]\n", m_ePlaybackState);
    state = m_ePlaybackState;
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::GetMoxHandle(MOXHandle &handle) {
    handle = m_instanceHandle;
    return moxpvr::kSuccess;
}

// --- Recorded file information -------------------------------------------------------------------

unsigned int CMOXPVRPlayback::GetFileName(std::string &name) {
    MOX_LOG(kLogProgress, "this func is started\n");
    MOX_LOG(kLogProgress, "fileName[%s]\n", m_strFileName.c_str());
    try {
        name = m_strFileName;
    } catch (const std::bad_alloc &) {
        MOX_LOG(kLogReport, "[FAT] GetFileName | out of memory\n");
        return moxpvr::kMissing;
    }
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::GetFileType(eRecordedFileType &type) {
    moxpvr::InformationFile information;
    const unsigned int result = ReadInformationFile(m_strFileName.c_str(), information);
    if (result != moxpvr::kSuccess)
        return result;
    type = E_RECORDED_FILE_TYPE_DTV;
    if (information.IsAnalogue()) {
        MOX_LOG(kLogReport, "[FAT]ATV channel\n");
        type = E_RECORDED_FILE_TYPE_ATV;
    }
    MOX_LOG(kLogReport, "ChannelType:%d fileType:%d\n", static_cast<int>(information.channelType),
            type);
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::GetPidPropertyByUri(std::string uri, unsigned int &videoPid,
                                                  unsigned int &audioPid, unsigned int &pcrPid) {
    moxpvr::InformationFile information;
    const unsigned int result = ReadInformationFile(uri.c_str(), information);
    if (result != moxpvr::kSuccess)
        return result;
    videoPid = information.videoPid;
    audioPid = information.audioPid;
    pcrPid = information.pcrPid;
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::ReadInformationFile(const char *recording,
                                                  moxpvr::InformationFile &information,
                                                  LogPlace place) const {
    mox::InformationFilePath path;
    if (!path.Derive(recording)) {
        MOX_LOG_AT(place, kLogReport, "the file path of srf is null\n");
        return moxpvr::kMissing;
    }
    MOX_LOG_AT(place, kLogProgress, "[FAT]|the path of inf file is [%s]\n", path.c_str());
    if (access(path.c_str(), F_OK) != 0) {
        MOX_LOG_AT(place, kLogReport, "the file path of srf is null\n");
        return moxpvr::kMissing;
    }
    MOX_LOG_AT(place, kLogProgress, "the file path of srf exists\n");
    const mox::RegularFile file = mox::OpenRegularFile(path.c_str());
    if (file == nullptr) {
        MOX_LOG_AT(place, kLogReport, "[FAT]fopen failed [%s]\n", path.c_str());
        return moxpvr::kMissing;
    }
    const std::size_t count = mox::ReadInformation(file.get(), information);
    if (count < 1) {
        MOX_LOG_AT(place, kLogReport, "[FAT]fread failed, ret [%d]\n", static_cast<int>(count));
        return moxpvr::kMissing;
    }
    return moxpvr::kSuccess;
}

// --- Channel changes inside a recording ----------------------------------------------------------

struct CMOXPVRPlayback::ResetOutcome {
    int result;         ///< as ResetChannel answers it
    bool isProgrammed;  ///< the decoders were set up
};

/// @return whether a channel change is under way; one that has waited too long is given up
bool CMOXPVRPlayback::WaitsForUnmute(LogPlace place) {
    const auto waited = m_change.Waited();
    if (!waited || *waited <= kLongestChannelChange)
        return waited.has_value();
    MOX_LOG_AT(place, kLogReport, "[ZZZ]Previous CHANNELCHANGED given up, no unmute for %lld ms\n",
               static_cast<long long>(waited->count()));
    m_change.GiveUp();
    return false;
}

int CMOXPVRPlayback::ResetChannel(int time, bool bForce) {
    return ResetChannel(time, bForce, nullptr).result;
}

/// @param recovery  begins a channel change before the decoders are set up, so that their unmute
///                  finds it; null: none
CMOXPVRPlayback::ResetOutcome CMOXPVRPlayback::ResetChannel(int time, bool bForce,
                                                            const Recovery *recovery) {
    MOX_LOG(kLogReport, "[FAT] ResetChannel started, new_time = %d\n", time);
    const mox::ChannelReading reading(m_tv_stream, time);
    if (!reading.HasRecord()) {
        MOX_LOG(kLogProgress, "[ZZZ]get channel info failed, result[%d]\n", reading.result);
        return {reading.result, false};
    }
    const TvChannelInfo &info = reading.info;
    MOX_LOG(kLogProgress,
            "[ZZZ] Video Pid:%d, Audio Pid:%d,PCR pid:%d audioDecodeType:%d videoType:%d\n",
            info.videoPid, info.audioPid, info.pcrPid, info.audioCodecType, info.videoCodecType);
    if (!bForce && info.videoPid == m_usChannelVideoPid &&
        info.videoCodecType == m_ucChannelVideoType) {
        MOX_LOG(kLogReport, "[ZZZ] | channel info same vpid = [%d],vtype = [%d]\n", info.videoPid,
                info.videoCodecType);
        return {kSameChannel, false};
    }
    if (recovery != nullptr)
        m_change.Begin(*recovery);
    const bool isAudioOnly = mox::IsAudioOnly(info);
    if (isAudioOnly)
        MOX_LOG(kLogReport, "[ZZZ]audio only case\n");
    mox::ProgramPids(m_tv_stream, info, isAudioOnly);
    tv_player_set_position(m_tv_player, time, kNormalRate);
    RememberChannel(info);

    const int videoCodec = mox::ConvertedVideoCodec(info);
    const int audioCodec = TVPlayerDataUtil::ConvertAudioEncodeType(info.audioCodecType);
    if (isAudioOnly)
        MOX_LOG(kLogReport, "[ZZZ] audio only, set Atype = %d\n", audioCodec);
    else
        MOX_LOG(kLogReport, "[ZZZ] A&V, set Atype = %d, Vtype = %d\n", audioCodec, videoCodec);
    const int result = mox::ProgramCodecs(
        m_tv_stream, audioCodec, isAudioOnly ? std::nullopt : std::optional<int>(videoCodec));
    MOX_LOG(kLogProgress, "[ZZZ] ResetChannel end, result [%d]\n", result);
    return {result, true};
}

unsigned int CMOXPVRPlayback::Skip(unsigned char *record) {
    MOX_LOG(kLogProgress, "Skip | this func is started\n");
    if (!HasPlayer())
        return moxpvr::kMissing;
    if (WaitsForUnmute()) {
        MOX_LOG(kLogReport, "[ZZZ]Previous CHANNELCHANGED not finished: %d, ignore pause\n", 1);
        return moxpvr::kSuccess;
    }
    if (record == nullptr)
        return moxpvr::kMissing;
    const auto request = mox::Read<protocol::Skip>(record);
    const int time = static_cast<int>(request.time);
    const Recovery target{request.time, request.rate};
    const bool needUnmute = target.rate != kNormalRate;
    const double rateBefore = m_change.Rate();
    const ResetOutcome reset = ResetChannel(time, false, needUnmute ? &target : nullptr);
    int result = moxpvr::kSuccess;
    if (reset.result == kSameChannel) {
        if (needUnmute && reset.isProgrammed) {  // the -1 was the platform's, and counts the same
            m_change.GiveUp();
            m_change.SetRate(rateBefore);
        }
        MOX_LOG(kLogReport, "[ZZZ]channel not change, do skip\n");
        result = tv_player_set_position(m_tv_player, target.position, target.rate);
    } else {
        if (needUnmute && !reset.isProgrammed)
            m_change.Begin(target);
        MOX_LOG(kLogReport, "[ZZZ]| skip meet new channel,time [%d], needUmute=[%d]\n", time,
                m_change.IsPending());
    }
    MOX_LOG(kLogProgress, "Skip | this func is ended, result [%d]\n", result);
    return ToResult(result);
}

/// Playback runs into another channel's stretch at `property.timeCode`.
void CMOXPVRPlayback::CrossIntoChannel(MOXPVRPlaybackCallbackProperty &property, LogPlace place) {
    // In rewind the decoders need a run-up before the crossing; in the player's unit, so ten
    // seconds where that is the millisecond.
    constexpr int kRewindBackOff = 10000;
    MOX_LOG_AT(place, kLogReport, "[ZZZ]PVRSYS_EVENT_CHANNELCHANGED %d\n", property.timeCode);
    if (WaitsForUnmute(place)) {
        MOX_LOG_AT(place, kLogReport, "[ZZZ]Previous CHANNELCHANGED not finished: %d\n", 1);
        return;
    }
    const double rate = m_change.Rate();
    const bool needUnmute = rate != kNormalRate;
    if (needUnmute) {
        m_change.Begin({property.timeCode, rate});
        if (rate < 0.0)
            property.timeCode =
                property.timeCode > kRewindBackOff ? property.timeCode - kRewindBackOff : 0;
    }
    MOX_LOG_AT(place, kLogReport, "[ZZZ]reset channel to: %d, needUmute:%d\n", property.timeCode,
               needUnmute);
    ResetChannel(property.timeCode, true);
}

// --- PID and codec selection ---------------------------------------------------------------------

bool CMOXPVRPlayback::MayChangeAudioPid() const {
    return m_bAllAudioPidDescrambled && !m_bIsTimeshift;
}

/// @return whether the PID changed and was sent; so for the next two
bool CMOXPVRPlayback::ApplyPcrPid(unsigned int pid, LogPlace place) {
    if (pid == m_uPcrPid || pid == moxpvr::kKeepPid)
        return false;
    MOX_LOG_AT(place, kLogReport, "[FAT] set pcr pid[0x%x]\n", pid);
    m_uPcrPid = pid;
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_PCR_PID, pid, 0);
    return true;
}

bool CMOXPVRPlayback::ApplyVideoPid(unsigned int pid, LogPlace place) {
    if (pid == m_uVideoPid || pid == moxpvr::kKeepPid)
        return false;
    MOX_LOG_AT(place, kLogReport, "[FAT] set video pid[0x%x]\n", pid);
    m_uVideoPid = pid;
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_VIDEO_PID, pid, 0);
    return true;
}

bool CMOXPVRPlayback::ApplyAudioPid(unsigned int pid, LogPlace place) {
    MOX_LOG_AT(place, kLogReport, "m_bAllAudioPidDescrambled %d\n", m_bAllAudioPidDescrambled);
    if (!MayChangeAudioPid() || pid == m_uAudioPid || pid == moxpvr::kKeepPid)
        return false;
    MOX_LOG_AT(place, kLogReport, "[FAT] set audio pid[0x%x]\n", pid);
    m_uAudioPid = pid;
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_AUDIO_PID, pid, 0);
    return true;
}

#define MOX_LOG_NOTHING_CHANGED \
    "[FAT] SetPidProperty | All PIDs are same with previous PIDs. Don't need to set any pids\n"

unsigned int CMOXPVRPlayback::SetPidProperty(unsigned int videoPid, unsigned int audioPid,
                                             unsigned int pcrPid) {
    MOX_LOG(kLogProgress, "SetPidProperty | this func is started\n");
    MOX_LOG(kLogReport, "[FAT] SetPidProperty | videoPid[0x%x] audioPid[0x%x] pcrPid[0x%x]\n",
            videoPid, audioPid, pcrPid);
    if (!HasPlayer())
        return moxpvr::kMissing;
    const bool pcrChanged = ApplyPcrPid(pcrPid);
    const bool videoChanged = ApplyVideoPid(videoPid);
    if (ApplyAudioPid(audioPid)) {
        if (videoChanged)
            MOX_LOG(kLogReport, "[FAT] SetPidProperty | Reset() is called\n");
        else
            MOX_LOG(kLogReport, "[FAT] SetPidProperty | Reset(Audio only) is called\n");
        return Reset(!videoChanged);
    }
    if (!pcrChanged && !videoChanged)
        MOX_LOG(kLogReport, MOX_LOG_NOTHING_CHANGED);
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::SetPidProperty(unsigned int videoPid, unsigned int videoCodecType,
                                             unsigned int audioPid, unsigned int audioCodecType,
                                             unsigned int pcrPid) {
    constexpr unsigned int kWrongPid = moxpvr::kNoPid16;
    MOX_LOG(kLogProgress, "SetPidProperty | this func is started\n");
    MOX_LOG(kLogReport,
            "[FAT] SetPidProperty | videoPid[0x%x] videoCodecType[%d] audioPid[0x%x] "
            "audioCodecType[%d] pcrPid[0x%x]\n",
            videoPid, videoCodecType, audioPid, audioCodecType, pcrPid);
    if (!HasPlayer())
        return moxpvr::kMissing;
    if (videoPid == kWrongPid || audioPid == kWrongPid || pcrPid == kWrongPid) {
        MOX_LOG(kLogReport,
                "pid is wrong, do nothing. nVideoPid[0x%d][%d] nAudioPid[0x%d][%d] "
                "nPcrPid[0x%d][%d]\n",
                videoPid, videoPid, audioPid, audioPid, pcrPid, pcrPid);
        return moxpvr::kSuccess;
    }
    const bool pcrChanged = ApplyPcrPid(pcrPid);
    const bool videoChanged = ApplyVideoPid(videoPid);
    if (ApplyAudioPid(audioPid)) {
        if (videoChanged) {
            MOX_LOG(kLogReport,
                    "[FAT] SetPidProperty | tv_stream_set_property Audio / Video codec all\n");
            return ToResult(tv_stream_set_property(m_tv_stream, TV_PROPERTY_AUDIO_CODEC_TYPE,
                                                   audioCodecType, TV_PROPERTY_VIDEO_CODEC_TYPE,
                                                   videoCodecType, 0));
        }
        MOX_LOG(kLogReport, "[FAT] SetPidProperty | tv_stream_set_property Audio codec only\n");
        return ToResult(
            tv_stream_set_property(m_tv_stream, TV_PROPERTY_AUDIO_CODEC_TYPE, audioCodecType, 0));
    }
    if (!pcrChanged && !videoChanged)
        MOX_LOG(kLogReport, MOX_LOG_NOTHING_CHANGED);
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::SetPidProperty(TSVideo video, TSAudio audio) {
    MOX_LOG(kLogProgress, "SetPidProperty | this func is started\n");
    MOX_LOG(kLogReport,
            "[FAT] SetPidProperty | m_bAllAudioPidDescrambled[%d] videoPid[0x%x] "
            "videoCodecType[%d] audioPid[0x%x] audioCodecType[%d] pcrPid[0x%x]\n",
            m_bAllAudioPidDescrambled, video.pid, video.codecType, audio.pid, audio.codecType,
            video.pcrPid);
    const mox::ConvertedAudio converted(audio);
    if (!HasPlayer())
        return moxpvr::kMissing;
    const bool videoChanged = RememberVideo(video);
    const bool audioChanged = MayChangeAudioPid() && IsAudioChange(audio);
    return ApplyAudio(audio, converted, audioChanged, videoChanged);
}

unsigned int CMOXPVRPlayback::SetPidProperty(TSVideo video, TSAudio audio,
                                             EAudioSelectionType selection) {
    MOX_LOG(kLogProgress, "SetPidProperty | this func is started\n");
    MOX_LOG(kLogReport,
            "[FAT] SetPidProperty | m_bAllAudioPidDescrambled[%d] videoPid[0x%x] "
            "videoCodecType[%d] audioPid[0x%x] audioCodecType[%d] pcrPid[0x%x] "
            "audioSelectionType[%d]\n",
            m_bAllAudioPidDescrambled, video.pid, video.codecType, audio.pid, audio.codecType,
            video.pcrPid, selection);
    const mox::ConvertedAudio converted(audio);
    if (!HasPlayer())
        return moxpvr::kMissing;
    const bool videoChanged = RememberVideo(video);
    const bool audioChanged = !IsExceptionAudioChangeCase(selection) &&
                              audio.pid != moxpvr::kKeepPid16 &&
                              (audio.pid != m_uAudioPid || audio.codecType != m_eAudioCodecType);
    return ApplyAudio(audio, converted, audioChanged, videoChanged);
}

/// Keeps a changed PCR or video stream without sending it: a channel change programs the
/// recording's own and replaces what is kept.
/// @return whether the video stream changed
bool CMOXPVRPlayback::RememberVideo(const TSVideo &video, LogPlace place) {
    if (video.pcrPid != m_uPcrPid && video.pcrPid != moxpvr::kKeepPid16) {
        MOX_LOG_AT(place, kLogReport, "[FAT] set pcr pid[0x%x]\n", video.pcrPid);
        m_uPcrPid = video.pcrPid;
    }
    if (video.pid == moxpvr::kKeepPid16 ||
        (video.pid == m_uVideoPid && video.codecType == m_eVideoCodecType))
        return false;
    MOX_LOG_AT(place, kLogReport, "[FAT] set video pid[0x%x]\n", video.pid);
    m_uVideoPid = video.pid;
    m_eVideoCodecType = video.codecType;
    return true;
}

bool CMOXPVRPlayback::IsAudioChange(const TSAudio &audio, LogPlace place) const {
    if (audio.pid != m_uAudioPid && audio.pid != moxpvr::kKeepPid16) {
        MOX_LOG_AT(place, kLogReport, "[FAT] set audio pid[0x%x]\n", audio.pid);
        return true;
    }
    if (audio.codecType == m_eAudioCodecType)
        return false;
    MOX_LOG_AT(place, kLogReport, "[FAT] Audio codec type changed case\n");
    return true;
}

unsigned int CMOXPVRPlayback::ApplyAudio(const TSAudio &audio, const mox::ConvertedAudio &converted,
                                         bool audioChanged, bool videoChanged, LogPlace place) {
    if (audioChanged) {
        m_uAudioPid = audio.pid;
        m_eAudioCodecType = audio.codecType;
    }
    if (videoChanged) {
        MOX_LOG_AT(place, kLogReport,
                   "[FAT] SetPidProperty | Video PID changed case. It will be handle by calling "
                   "ResetChannel()\n");
        return moxpvr::kSuccess;
    }
    if (audioChanged) {
        MOX_LOG_AT(place, kLogReport,
                   "[FAT] SetPidProperty | tv_stream_set_property Audio codec only\n");
        tv_stream_set_property(m_tv_stream, TV_PROPERTY_AUDIO_PID, static_cast<int>(audio.pid),
                               TV_PROPERTY_AUDIO_CODEC_TYPE, converted.codec, 0);
    } else {
        MOX_LOG_AT(place, kLogReport, MOX_LOG_NOTHING_CHANGED);
    }
    const int result = tv_stream_set_property(
        m_tv_stream, TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE, converted.stereoMode, 0);
    MOX_LOG_AT(place, kLogReport,
               "[FAT] SetPidProperty | "
               "TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[%d][result:%d]\n",
               converted.stereoMode, result);
    return moxpvr::kSuccess;
}

#undef MOX_LOG_NOTHING_CHANGED

bool CMOXPVRPlayback::IsExceptionAudioChangeCase(EAudioSelectionType selection) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (!m_bAllAudioPidDescrambled) {
        MOX_LOG(kLogReport,
                "[FAT] IsExceptionAudioChangeCase | m_bAllAudioPidDescrambled[%d] case. we must "
                "not set audio pid which was set from SI\n",
                m_bAllAudioPidDescrambled);
        return true;
    }
    if (selection == AUDIO_SELECTION_USER)
        MOX_LOG(kLogReport,
                "[FAT] IsExceptionAudioChangeCase | AUDIO_SELECTION_USER. we will set audio pid "
                "which was set from SI\n");
    return false;
}

unsigned int CMOXPVRPlayback::SetPlaybackProperty(MOXPVRPlaybackProperty property) {
    MOX_LOG(kLogReport,
            "[FAT] SetPidProperty | videoPid[0x%x] audioPid[0x%x] pcrPid[0x%x] videoType[0x%x] "
            "autioType[0x%x]\n",
            property.videoPid, property.audioPid, property.pcrPid, property.videoType,
            property.audioType);
    if (!HasPlayer())
        return moxpvr::kMissing;
    const int result = tv_stream_set_property(
        m_tv_stream, TV_PROPERTY_PCR_PID, property.pcrPid, TV_PROPERTY_VIDEO_PID, property.videoPid,
        TV_PROPERTY_AUDIO_PID, property.audioPid, TV_PROPERTY_AUDIO_CODEC_TYPE, property.audioType,
        TV_PROPERTY_VIDEO_CODEC_TYPE, property.videoType, 0);
    MOX_LOG(kLogTrace, "SetPidProperty | this func is ended, result[%d]\n", result);
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::GetPidProperty(unsigned int &videoPid, unsigned int &audioPid,
                                             unsigned int &pcrPid) {
    const mox::ChannelReading reading(m_tv_stream, 0);
    if (reading.result != 0) {
        MOX_LOG(kLogReport, "[FAT]tv_stream_get_channel_info is called failed, result[%d]\n",
                reading.result);
        return ToResult(reading.result);
    }
    if (!reading.HasRecord()) {
        MOX_LOG(kLogReport, "[FAT]channel_info_temp is NULL.\n");
        return moxpvr::kMissing;
    }
    videoPid = reading.info.videoPid;
    audioPid = static_cast<unsigned int>(reading.info.audioPid);
    pcrPid = reading.info.pcrPid;
    MOX_LOG(kLogReport, "[FAT]video pid:0x%x,audio pid:0x%x,pcr pid:0x%x\n", videoPid, audioPid,
            pcrPid);
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::Reset(bool audioOnly) {
    MOX_LOG(kLogReport, "[FAT] Reset | this func is started\n");
    const mox::ChannelReading reading(m_tv_stream, m_nStartPos);
    if (!reading.HasRecord()) {
        MOX_LOG(kLogProgress,
                "Reset | tv_stream_get_channel_info is called failed, result[%d], "
                "channel_info[0x%08x]\n",
                reading.result, mox::Low32(reading.record));
        return reading.result != 0 ? ToResult(reading.result) : moxpvr::kMissing;
    }
    const TvChannelInfo &info = reading.info;
    MOX_LOG(kLogReport,
            "Reset | Video Pid:%d, Audio Pid:%d,PCR pid:%d audioDecodeType:%d videoType:%d\n",
            info.videoPid, info.audioPid, info.pcrPid, info.audioCodecType, info.videoCodecType);
    if (mox::IsAudioOnly(info)) {
        MOX_LOG(kLogReport, "audio only case\n");
        audioOnly = true;
    }
    const mox::ConvertedAudio converted(info);
    const int result =
        audioOnly ? ResetAudioCodec(converted.codec) : ResetAllCodecs(info, converted.codec);
    const int stereoResult = tv_stream_set_property(
        m_tv_stream, TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE, converted.stereoMode, 0);
    MOX_LOG(kLogReport, "[FAT] Reset | TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[%d][result:%d]\n",
            converted.stereoMode, stereoResult);
    return ToResult(result);
}

int CMOXPVRPlayback::ResetAudioCodec(int audioCodec, LogPlace place) {
    MOX_LOG_AT(place, kLogReport, "[FAT] Reset | tv_stream_set_property Audio codec only\n");
    return mox::ProgramCodecs(m_tv_stream, audioCodec, std::nullopt);
}

int CMOXPVRPlayback::ResetAllCodecs(const TvChannelInfo &info, int audioCodec, LogPlace place) {
    const int videoCodec = mox::ConvertedVideoCodec(info);
    MOX_LOG_AT(place, kLogReport, "[FAT] Reset | tv_stream_set_property Audio / Video codec all\n");
    const int result = mox::ProgramCodecs(m_tv_stream, audioCodec, videoCodec);
    if (tv_stream_is_audio_description_enabled(m_tv_stream) != 0) {
        MOX_LOG_AT(place, kLogReport,
                   "[FAT] Reset | audio description was enabled. So AD's codec should be set "
                   "again\n");
        if (tv_stream_set_property(m_tv_stream, TV_PROPERTY_AD_CODEC_TYPE, m_adEncType, 0) != 0)
            MOX_LOG_AT(place, kLogReport,
                       "[FAT] Reset | Error : fail to call tv_stream_set_property \n");
    }
    if (info.korean3d == 1) {
        MOX_LOG_AT(place, kLogReport, "[FAT] Reset | it is korea 3d, sub_vpid:0x%x\n",
                   info.subVideoPid);
        tv_stream_set_kr3d_mode_format(m_tv_stream, kKorean3dOn, kKorean3dFormat);
        tv_stream_set_3d_mode(m_tv_stream, k3dModeOn, info.subVideoPid);
    }
    return result;
}

// --- Audio description and descrambling ----------------------------------------------------------

unsigned int CMOXPVRPlayback::SetADProperty(TSAudio ad) {
    if (tv_stream_is_audio_description_enabled(m_tv_stream) != 0) {
        MOX_LOG(kLogReport, "[FAT] SetADProperty | audio description enable already\n");
        if (ad.pid == m_uAudioDescPid) {
            MOX_LOG(kLogReport, "[FAT] SetADProperty | Same AD pid has already set before\n");
            return moxpvr::kSuccess;
        }
    } else {
        const int enabled = tv_stream_enable_audio_description(m_tv_stream, ad.pid);
        if (enabled != 0) {
            MOX_LOG(kLogReport,
                    "[FAT] SetADProperty | Error : tv_stream_enable_audio_description return "
                    "[%d]\n",
                    enabled);
            return ToResult(enabled);
        }
        MOX_LOG(kLogReport, "[FAT] SetADProperty | auido description enable[result:%d pid:0x%x]\n",
                enabled, ad.pid);
    }
    const int codec = TVPlayerDataUtil::ConvertAudioEncodeType(ad.codecType);
    const int result =
        tv_stream_set_property(m_tv_stream, TV_PROPERTY_AD_PID, static_cast<int>(ad.pid),
                               TV_PROPERTY_AD_CODEC_TYPE, codec, 0);
    if (result != 0) {
        MOX_LOG(kLogReport, "[FAT] SetADProperty | Error : tv_stream_set_property return [%d]\n",
                result);
        return ToResult(result);
    }
    MOX_LOG(kLogReport,
            "[FAT] SetADProperty | auido description pid was set [result:%d pid:0x%x "
            "adEncType:%d]\n",
            result, ad.pid, codec);
    m_uAudioDescPid = ad.pid;
    m_adEncType = codec;
    MOX_LOG(kLogReport, "[FAT] m_uAudioDescPid[0x%x], m_adEncType[%d]\n", m_uAudioDescPid,
            m_adEncType);
    return moxpvr::kSuccess;
}

unsigned int CMOXPVRPlayback::DisableADProperty() {
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_AD_PID, kNoDescriptionPid,
                           TV_PROPERTY_AD_CODEC_TYPE, kNoDescriptionCodec, 0);
    const int result = tv_stream_disable_audio_description(m_tv_stream);
    MOX_LOG(kLogReport, "[FAT] DisableADProperty | auido description disable [result:%d]\n",
            result);
    return ToResult(result);
}

unsigned int CMOXPVRPlayback::AllPidDescrambled(void *reply, unsigned int *replyLength) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (m_bAllAudioPidDescrambled)
        MOX_LOG(kLogReport, "all pids are descrambled\n");
    else
        MOX_LOG(kLogReport, "only one audio pid is descrambled\n");
    mox::Answer(protocol::AllPidDescrambledReply{m_bAllAudioPidDescrambled ? 1U : 0U}, reply,
                replyLength);
    MOX_LOG(kLogProgress, " this func is ended, result [%d]\n", 0);
    return moxpvr::kSuccess;
}

// --- Callbacks of the platform player ------------------------------------------------------------

namespace {

constexpr int kChannelChanged = 3;  // PVRSYS_EVENT_CHANNELCHANGED

constexpr mox::DetailOf kApplicationDetails[] = {
    {0, EventDetail::PlaybackApplication0},
    {1, EventDetail::PlaybackApplication1},
};

constexpr mox::DetailOf kErrorDetails[] = {
    {1, EventDetail::PlaybackError1},
    {3, EventDetail::PlaybackError3},
};

}  // namespace

void CMOXPVRPlayback::DoTvpCallback(TVCallbackType /*type*/, void * /*data*/, void * /*userData*/) {
    MOX_LOG(kLogReport, "DoTvpCallback | this func is started\n");
    MOX_LOG(kLogProgress, "DoTvpCallback | this func is ended\n");
}

void CMOXPVRPlayback::DoTvpCallback(TVCallbackType type, MOXPVRPlaybackCallbackProperty *property) {
    MOX_LOG(kLogTrace, "[FAT] NEW!!! DoTvpCallback | this func is started !!!NEW\n");
    switch (type) {
        case TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE:
        case TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK:
            UnmuteCB(type, property);
            break;
        case TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION:
            AppCB(property);
            break;
        case TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR:
            ErrorCB(property);
            break;
        default:
            break;
    }
    MOX_LOG(kLogProgress, "this func is ended\n");
}

void CMOXPVRPlayback::AppCB(MOXPVRPlaybackCallbackProperty *property) {
    MOX_LOG(kLogProgress, "AppCB | this func is started\n");
    if (property == nullptr) {
        MOX_LOG(kLogReport, "[FAT] AppCB | Error : pCallbackProperty is NULL\n");
        return;
    }
    MOX_LOG(kLogReport, "[FAT] AppCB | SubEventType[%d], timeCode[%d]\n", property->SubEventType,
            property->timeCode);
    if (property->SubEventType == kChannelChanged)
        CrossIntoChannel(*property);
    else
        SendApplicationEvent(property->SubEventType, kLogProgress);
}

void CMOXPVRPlayback::SendApplicationEvent(int type, mox::LogPriority success, LogPlace place) {
    const EventDetail detail = mox::FindDetail(kApplicationDetails, type);
    if (detail == EventDetail::None) {
        MOX_LOG_AT(place, kLogReport, "AppCB | Invalid event detail type\n");
        return;
    }
    const moxpvr::SysChangeEvent event{HandleByte(), detail};
    MOX_LOG_AT(place, kLogProgress, "AppCB | received event, handle [%d] event [%d]\n",
               event.handle, static_cast<int>(event.detail));
    MOX_LOG_AT(place, kLogProgress, "SIGNAL_PVR_SYS_CHANGE[%d]\n", moxpvr::SIGNAL_PVR_SYS_CHANGE);
    if (mox::Send(event))
        MOX_LOG_AT(place, success, "AppCB | send event out successfully\n");
    else
        MOX_LOG_AT(place, kLogReport, "AppCB | send event out failure\n");
    MOX_LOG_AT(place, kLogProgress, "AppCB | this func is ended\n");
}

void CMOXPVRPlayback::UnmuteCB(TVCallbackType type, MOXPVRPlaybackCallbackProperty * /*property*/) {
    MOX_LOG(kLogTrace, "[FAT] UnmuteCB | this func is started\n");
    if (type == TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE) {
        MOX_LOG(kLogReport, "[FAT] UnmuteCB | TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE\n");
    } else if (type == TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK) {
        MOX_LOG(kLogReport, "[FAT] UnmuteCB | TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK\n");
        if (!m_bIsAudioChannel) {
            MOX_LOG(kLogReport, "[FAT] UnmuteCB | This is not Audio ch. so just skip\n");
            return;
        }
        MOX_LOG(kLogReport, "[FAT] UnmuteCB | This is Audio ch. Send UNMUTE event\n");
    } else {
        MOX_LOG(kLogReport, "Error : Received event [%d]\n", type);
        return;
    }
    SendUnmuteEvent(kLogProgress, kLogProgress);
    MOX_LOG(kLogReport, "[FAT] tv_stream_set_property( TV_PROPERTY_PVRSRC_MUTE) to FALSE\n");
    tv_stream_set_property(m_tv_stream, TV_PROPERTY_PVRSRC_MUTE, 0, 0);
    // Read once: a change that begins from here on waits for the next unmute.
    const bool isChannelChanging = m_change.IsPending();
    if (!m_bIsATV && isChannelChanging) {
        MOX_LOG(kLogReport, "[ZZZ]channel change case, donot umute\n");
    } else {
        if (m_bIsATV)
            MOX_LOG(kLogReport, "It's analog recorded file\n");
        else
            MOX_LOG(kLogReport, "It's not analog recorded file\n");
        tv_stream_set_property(m_tv_stream, TV_PROPERTY_VIDEO_STILL_MODE, 0,
                               TV_PROPERTY_PLAYBACK_HOLD, 0, 0);
    }
    if (isChannelChanging) {
        m_change.End([this, place = LogPlace::Here()](const Recovery &recovery) {
            MOX_LOG_AT(place, kLogReport,
                       "[ZZZ]channel change umute, recover speed:%f, time:%lld\n", recovery.rate,
                       recovery.position);
            tv_player_set_position(m_tv_player, recovery.position, recovery.rate);
        });
    }
    MOX_LOG(kLogProgress, "UnmuteCB | this func is ended\n");
}

void CMOXPVRPlayback::SendUnmuteEvent(mox::LogPriority received, mox::LogPriority outcome,
                                      LogPlace place) {
    const moxpvr::SysChangeEvent event{HandleByte(), EventDetail::PlaybackUnmute};
    const auto group =
        static_cast<std::int16_t>(static_cast<int>(event.detail) << 8 | event.handle);
    MOX_LOG_AT(place, received, "UnmuteCB | received event, event_group[%d]\n", group);
    if (mox::Send(event))
        MOX_LOG_AT(place, outcome, "UnmuteCB | send event out successfully\n");
    else
        MOX_LOG_AT(place, outcome, "UnmuteCB | send event out failed\n");
}

void CMOXPVRPlayback::ErrorCB(MOXPVRPlaybackCallbackProperty *property) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (property == nullptr) {
        MOX_LOG(kLogReport, "[FAT] ErrorCB | Error : pCallbackProperty is NULL\n");
        return;
    }
    MOX_LOG(kLogReport, "[FAT] ErrorCB | errCode[%d]\n", property->errCode);
    SendErrorEvent(property->errCode, kLogProgress);
}

void CMOXPVRPlayback::SendErrorEvent(int code, mox::LogPriority outcome, LogPlace place) {
    const EventDetail detail = mox::FindDetail(kErrorDetails, code);
    if (detail == EventDetail::None) {
        MOX_LOG_AT(place, kLogReport, "[FAT] ErrorCB | Invalid event detail type\n");
        return;
    }
    const moxpvr::SysChangeEvent event{HandleByte(), detail};
    MOX_LOG_AT(place, kLogProgress, "ErrorCB | received event, handle [%d] event [%d]\n",
               event.handle, static_cast<int>(event.detail));
    if (mox::Send(event))
        MOX_LOG_AT(place, outcome, "ErrorCB | send event out successfully\n");
    else
        MOX_LOG_AT(place, outcome, "ErrorCB | send event out failed\n");
    MOX_LOG_AT(place, kLogProgress, "ErrorCB | this func is ended\n");
}

// --- The same for bus messages -------------------------------------------------------------------

void CMOXPVRPlayback::AppCB(GstMessage *message) {
    MOX_LOG(kLogProgress, "AppCB | this func is started\n");
    if (message == nullptr) {
        MOX_LOG(kLogReport, "failed [%s]\n\n", "param");
        return;
    }
    const int type = mox::MessageField(message, "app_type");
    MOX_LOG(kLogProgress, "AppCB | event_type is [%d]\n", type);
    if (type == kChannelChanged)
        MOX_LOG(kLogTrace, "This is PVRSYS_EVENT_CHANNELCHANGED case just return\n");
    else
        SendApplicationEvent(type, kLogReport);
}

void CMOXPVRPlayback::ErrorCB(GstMessage *message) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (message == nullptr) {
        MOX_LOG(kLogReport, "failed [%s]\n\n", "param");
        return;
    }
    const mox::GstError error(message);
    if (!error.HasError()) {
        MOX_LOG(kLogReport, "[FAT] ErrorCB | Invalid event detail type\n");
        return;
    }
    MOX_LOG(kLogProgress, "Error received from element %s: %s\n", error.elementName(),
            error.text());
    SendErrorEvent(error.code(), kLogReport);
}

void CMOXPVRPlayback::UnmuteCB(TVCallbackType type, GstMessage * /*message*/) {
    MOX_LOG(kLogReport, "[FAT] UnmuteCB | this func is started\n");
    const bool isAudioLock =
        type == TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK && m_bIsAudioChannel;
    if (type != TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE && !isAudioLock) {
        MOX_LOG(kLogReport, "Receive event [%d]\n", type);
        return;
    }
    SendUnmuteEvent(kLogReport, kLogReport);
    if (m_bTrickMode.exchange(false)) {
        MOX_LOG(kLogReport,
                "[FAT] tv_stream_set_property(TV_PROPERTY_VIDEO_STILL_MODE, "
                "TV_PROPERTY_VIDEO_SINK_MUTE, TV_PROPERTY_PVRSRC_MUTE) to FALSE\n");
        tv_stream_set_property(m_tv_stream, TV_PROPERTY_VIDEO_STILL_MODE, 0,
                               TV_PROPERTY_VIDEO_SINK_MUTE, 0, TV_PROPERTY_PVRSRC_MUTE, 0, 0);
    } else {
        MOX_LOG(kLogReport,
                "[FAT] tv_stream_set_property(TV_PROPERTY_VIDEO_STILL_MODE, "
                "TV_PROPERTY_AUDIO_SINK_MUTE, TV_PROPERTY_VIDEO_SINK_MUTE, "
                "TV_PROPERTY_PVRSRC_MUTE) to FALSE\n");
        tv_stream_set_property(m_tv_stream, TV_PROPERTY_VIDEO_STILL_MODE, 0,
                               TV_PROPERTY_AUDIO_SINK_MUTE, 0, TV_PROPERTY_VIDEO_SINK_MUTE, 0,
                               TV_PROPERTY_PVRSRC_MUTE, 0, 0);
    }
    MOX_LOG(kLogProgress, "UnmuteCB | this func is ended\n");
}

// --- Registry ------------------------------------------------------------------------------------

CMOXPVRPlaybackMgr *CMOXPVRPlaybackMgr::m_pPlaybackMgr = nullptr;

CMOXPVRPlaybackMgr *CMOXPVRPlaybackMgr::GetInstance() {
    if (m_pPlaybackMgr != nullptr)
        return m_pPlaybackMgr;
    m_pPlaybackMgr = new (std::nothrow) CMOXPVRPlaybackMgr;
    if (m_pPlaybackMgr == nullptr)
        MOX_LOG(kLogReport, "m_pPlaybackMgr is  new(std::nothrow)  failed\n");
    return m_pPlaybackMgr;
}

CMOXPVRPlaybackMgr::CMOXPVRPlaybackMgr() {
    MOX_LOG(kLogProgress, "CMOXPVRPlaybackMgr |  constructor playback mgr\n");
}

CMOXPVRPlaybackMgr::~CMOXPVRPlaybackMgr() {
    MOX_LOG(kLogProgress, "CMOXPVRPlaybackMgr |  destructor playback mgr\n");
    m_pPlaybackMgr = nullptr;
}

CMOXPVRPlayback *CMOXPVRPlaybackMgr::SetPlaybackHandleStream(MOXHandle handle, void *player,
                                                             void *stream) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (player == nullptr || stream == nullptr) {
        MOX_LOG(kLogReport, "CMOXPVRPlaybackMgr | invalid parameter playback handle or stream\n");
        return nullptr;
    }
    std::unique_ptr<CMOXPVRPlayback> instance(new (std::nothrow) CMOXPVRPlayback);
    if (instance == nullptr || !m_playbacks.Store(handle, instance.get())) {
        MOX_LOG(kLogReport, "pPlayback is new(std::nothrow) failed\n");
        return nullptr;
    }
    CMOXPVRPlayback *registered = instance.release();
    registered->Initilize(handle, player, stream);
    MOX_LOG(kLogReport, "this func is ended\n");
    return registered;
}

CMOXPVRPlayback *CMOXPVRPlaybackMgr::GetPlaybackInstance(MOXHandle handle) {
    return m_playbacks.Find(handle);
}

int CMOXPVRPlaybackMgr::Destroy(MOXHandle handle) {
    m_playbacks.Destroy(handle);
    return moxpvr::kSuccess;
}
