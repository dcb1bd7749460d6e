#include "MoxPvrRecord/MoxPvrRecord.h"

#include <TCVConfProvider.h>
#include <tv_recorder.h>
#include <tv_stream.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "ControlRequest.h"
#include "EventRecord.h"
#include "GstError.h"
#include "PlatformLayout.h"

using mox::kLogProgress;
using mox::kLogReport;
using mox::kLogTrace;
using mox::LogPlace;
using moxpvr::EventDetail;
namespace protocol = moxpvr::recorder;

namespace {

constexpr char kBuildStamp[] = "20150109 2204";

bool IsPidGiven(unsigned int pid) {
    return pid != 0 && pid != moxpvr::kNoPid;
}

/// The one callback of every platform recorder; `recorder` is the instance that registered it.
void RecordCB(TVCallbackType type, void *recorder, void *param) {
    MOX_LOG(kLogProgress, "RecordCB | this func is started\n");
    if (param == nullptr) {
        MOX_LOG(kLogReport, "failed [%s]\n\n", "param");
        return;
    }
    if (recorder == nullptr) {
        MOX_LOG(kLogReport, "RecordCB | recorder pointer is null\n");
        return;
    }
    MOX_LOG(kLogProgress,
            "TVCallbackType values: TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION[%d], "
            "TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR[%d],  TV_PLAYER_CALLBACK_ASM_COMMAND[%d]\n",
            TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION, TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR,
            TV_PLAYER_CALLBACK_ASM_COMMAND);
    MOX_LOG(kLogProgress, "RecordCB | received callback event, callback_type [%d]\n", type);
    auto *instance = static_cast<CMOXPVRRecorder *>(recorder);
    switch (type) {
        case TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION:
            instance->AppCB(static_cast<GstMessage *>(param));
            break;
        case TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR:
            instance->ErrorCB(static_cast<GstMessage *>(param));
            break;
        case TV_PLAYER_CALLBACK_ASM_COMMAND:
            instance->AsmCB(static_cast<TvStreamAsmSoundCommand *>(param));
            break;
        default:
            MOX_LOG(kLogReport, "[FAT] Unknow callback type\n");
            break;
    }
    MOX_LOG(kLogProgress, "RecordCB | this func is ended\n");
}

}  // namespace

// --- Control requests ----------------------------------------------------------------------------

namespace {

using mox::Call;
using Recorder = CMOXPVRRecorder;

constexpr mox::ControlCommand<CMOXPVRRecorder> kCommands[] = {
    /*  1 */ {Call<&Recorder::SetHandle>, false},
    /*  2 */ {Call<&Recorder::SetDemuxProperty>, false},
    /*  3 */ {Call<&Recorder::SetSinkProperty>, false},
    /*  4 */ {Call<&Recorder::SetChannelInfoProperty>, false},
    /*  5 */ {Call<&Recorder::SetATVProperty>, false},
    /*  6 */ {Call<&Recorder::Start>, false},
    /*  7 */ {Call<&Recorder::Pause>, false},
    /*  8 */ {Call<&Recorder::Resume>, false},
    /*  9 */ {Call<&Recorder::Stop>, false},
    /* 10 */ {Call<&Recorder::GetProgress>, true},
    /* 11 */ {Call<&Recorder::SwapTS2Record>, false},
    /* 12 */ {Call<&Recorder::UpdateSi>, false},
    /* 13 */ {Call<&Recorder::GetTSDuration>, true},
    /* 14 */ {Call<&Recorder::ClearDemuxInfo>, false},
    /* 15 */ {Call<&Recorder::RecordInformPowerChange>, false},
    /* 16 */ {Call<&Recorder::GetTunerIndex>, false},
    /* 17 */ {Call<&Recorder::SetBackgroundAPID>, false},
    /* 18 */ {Call<&Recorder::SetDuration>, false},
    /* 19 */ {Call<&Recorder::PreStart>, false},
};
static_assert(std::size(kCommands) == static_cast<std::size_t>(protocol::Command::PreStart));

}  // namespace

unsigned int CMOXPVRRecorder::CtrlRecorder(unsigned int inSize, unsigned char *inData,
                                           unsigned int &outSize, unsigned char *outData) {
    if (inData == nullptr)
        return moxpvr::kBadRequest;
    // Bounded, so that a text without its NUL is not read beyond the announced length.
    MOX_LOG(kLogProgress, "CtrlRecorder | inSize[%d] inData[%.*s]\n", inSize,
            static_cast<int>(std::min<std::size_t>(inSize, moxpvr::kMaxRequestText)),
            reinterpret_cast<char *>(inData));
    mox::ControlRequest request;
    if (!request.Decode(inData, inSize))
        return moxpvr::kBadRequest;
    MOX_LOG(kLogProgress, "CtrlRecorder | cmd [%d]\n", request.Command());
    const auto *command = mox::FindCommand(kCommands, request.Command());
    if (command == nullptr) {
        MOX_LOG(kLogReport, "[FAT] CtrlRecorder | error command\n");
        return moxpvr::kBadRequest;
    }
    const auto result = mox::Run(*command, *this, {request.record(), outData, &outSize});
    if (!result)
        MOX_LOG(kLogReport, "[FAT] CtrlRecorder | out of memory\n");
    return result.value_or(moxpvr::kMissing);
}

// --- Lifecycle -----------------------------------------------------------------------------------

int CMOXPVRRecorder::Initilize(MOXHandle handle, void *recorder, int tunerIndex) {
    m_moxHandle = handle;
    m_handle = recorder;
    m_nTunerIndex = tunerIndex;
    return tv_recorder_set_callback(recorder, RecordCB, this);
}

bool CMOXPVRRecorder::HasRecorder(LogPlace place) const {
    if (m_handle != nullptr)
        return true;
    MOX_LOG_AT(place, kLogReport, "failed [%s]\n\n", "m_handle");
    return false;
}

int CMOXPVRRecorder::SetHandle(unsigned char *record) {
    MOX_LOG(kLogProgress, "SetHandle | this func is started\n");
    if (record == nullptr)
        return moxpvr::kMissing;
    const auto request = mox::Read<protocol::SetHandle>(record);
    MOX_LOG(kLogProgress, "SetHandle | handle [%d] service_id[%llu] is_support_ci[%d]\n",
            request.handle, static_cast<unsigned long long>(request.serviceId), request.ci);
    m_nHandle = request.handle;
    m_ullServiceID = request.serviceId;
    m_bIsSupportCI = request.ci != 0;
    return moxpvr::kSuccess;
}

int CMOXPVRRecorder::SetDuration(unsigned char *record) {
    MOX_LOG(kLogProgress, "SetDuration | this func is started\n");
    if (record == nullptr)
        return moxpvr::kMissing;
    const int duration = mox::Read<protocol::SetDuration>(record).duration;
    MOX_LOG(kLogProgress, "SetDuration | duration[%d]\n", duration);
    return tv_stream_set_property(m_handle, TV_PROPERTY_RECORD_DURATION, duration, 0);
}

int CMOXPVRRecorder::PreStart() {
    MOX_LOG(kLogReport, "[FAT] PreStart | this func is started\n");
    if (!HasRecorder())
        return moxpvr::kMissing;
    const int result = tv_recorder_set_playing_state_for_tuner_and_demuxer(m_handle);
    MOX_LOG(kLogReport, "[FAT] PreStart | this func is ended, result [%d]\n", result);
    return result;
}

int CMOXPVRRecorder::Start() {
    MOX_LOG(kLogProgress, "Start | this func is started, LAST_MODIFY_DATE[%s]\n", kBuildStamp);
    if (!HasRecorder())
        return moxpvr::kMissing;
    const int result = tv_recorder_start(m_handle);
    MOX_LOG(kLogProgress, "Start | this func is ended, result [%d]\n", result);
    if (result != 0)
        return result;
    const Sent sent = SendRecorderStarted();
    if (sent == Sent::Accepted)
        MOX_LOG(kLogReport, "[FAT] Start | send event out with mox-handle successfully\n");
    else if (sent == Sent::Refused)
        MOX_LOG(kLogReport, "[FAT] Start | send event out with mox-handle failed\n");
    m_eRecordState = E_RECORD_STATE_REC;
    return moxpvr::kSuccess;
}

CMOXPVRRecorder::Sent CMOXPVRRecorder::SendRecorderStarted(LogPlace place) {
    TIEventManager *manager = TIEventManager::Instance();
    if (manager == nullptr)
        return Sent::NoManager;
    const moxpvr::RecorderStartedEvent event{m_eRecordType, m_ullServiceID};
    MOX_LOG_AT(place, kLogProgress,
               "TIEventManager::Instance()->Send, event[%d], m_ullServiceID[%lld], "
               "eventData.data.c0[%d]\n",
               moxpvr::SIGNAL_PVR_RECORDER_STARTED, static_cast<long long>(m_ullServiceID),
               static_cast<int>(event.recordType));
    return mox::Send(event, *manager, m_moxHandle) ? Sent::Accepted : Sent::Refused;
}

int CMOXPVRRecorder::Pause() {
    MOX_LOG(kLogProgress, "Pause | this func is started\n");
    if (!HasRecorder())
        return moxpvr::kMissing;
    const int result = tv_recorder_pause(m_handle);
    if (result == 0)
        m_eRecordState = E_RECORD_STATE_PAUSE;
    MOX_LOG(kLogProgress, "Pause | this func is ended, result [%d]\n", result);
    return result;
}

int CMOXPVRRecorder::Resume() {
    MOX_LOG(kLogProgress, "Resume | this func is started\n");
    if (!HasRecorder())
        return moxpvr::kMissing;
    const int result = tv_recorder_resume(m_handle);
    if (result == 0)
        m_eRecordState = E_RECORD_STATE_REC;
    MOX_LOG(kLogProgress, "Resume | this func is ended, result [%d]\n", result);
    return result;
}

int CMOXPVRRecorder::Stop() {
    MOX_LOG(kLogProgress, "Stop | this func is started\n");
    if (!HasRecorder())
        return moxpvr::kMissing;
    const int result = tv_recorder_stop(m_handle);
    MOX_LOG(kLogProgress, "Stop | this func is ended, result [%d]\n", result);
    if (result == 0 && m_bIsSupportCI)
        m_eRecordState = E_RECORD_STATE_STOPPED;
    return result;
}

// --- What other services ask ---------------------------------------------------------------------

int CMOXPVRRecorder::GetState(ePvrRecordState &state) {
    MOX_LOG(kLogProgress, "this func is started\n");
    MOX_LOG(kLogProgress, "m_eRecordState[%d]\n", m_eRecordState);
    state = m_eRecordState;
    return moxpvr::kSuccess;
}

int CMOXPVRRecorder::GetServiceId(unsigned long long &serviceId) {
    MOX_LOG(kLogProgress, "this func is started\n");
    serviceId = m_ullServiceID;
    MOX_LOG(kLogProgress, "ullServiceId[%llu]\n", serviceId);
    return moxpvr::kSuccess;
}

int CMOXPVRRecorder::GetFileName(std::string &name) {
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

int CMOXPVRRecorder::GetMoxHandle(MOXHandle &handle) {
    MOX_LOG(kLogProgress, "this func is called\n");
    handle = m_moxHandle;
    return moxpvr::kSuccess;
}

// --- Streams -------------------------------------------------------------------------------------

int CMOXPVRRecorder::SetDemuxProperty(unsigned char *record) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (!HasRecorder() || record == nullptr)
        return moxpvr::kMissing;
    const auto pids = mox::Read<protocol::SetDemuxProperty>(record);
    MOX_LOG(kLogReport, "[FAT] SetDemuxProperty | Received demux video pid is 0x%x\n",
            pids.videoPid);
    MOX_LOG(kLogReport, "[FAT] SetDemuxProperty | audio_pid is 0x%x\n", pids.audioPid);
    MOX_LOG(kLogReport, "[FAT] SetDemuxProperty | Received demux pcr pid  is 0x%x\n", pids.pcrPid);
    const int result =
        IsPidGiven(pids.videoPid) ? SetVideoAndAudioPids(pids) : SetAudioOnlyPids(pids);
    MOX_LOG(kLogProgress, "SetDemuxProperty | tv_recorder_set_property, result[%d]\n", result);
    DumpPids(kLogReport, "");
    MOX_LOG(kLogProgress, "SetDemuxProperty | this func is ended, result[%d]\n", result);
    return result;
}

int CMOXPVRRecorder::SetAudioOnlyPids(const protocol::SetDemuxProperty &pids, LogPlace place) {
    // The audio stream carries the clock: it is listed in the place of the PCR PID as well.
    m_vecDemuxPid.insert(m_vecDemuxPid.end(), {pids.audioPid, pids.audioPid});
    MOX_LOG_AT(place, kLogReport,
               "[FAT] ==========audio only, must set audio pid first, then don't set pcr pid, must "
               "not set video pid!===========\n");
    if (!IsPidGiven(pids.audioDescriptionPid))
        return tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_AUDIO_PID, pids.audioPid, 0);
    MOX_LOG_AT(place, kLogReport, "[FAT]there exist audio description pid:0x%x\n",
               pids.audioDescriptionPid);
    return tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_AUDIO_PID, pids.audioPid,
                                    TV_RECORDER_PROPERTY_ADD_PID, pids.audioDescriptionPid, 0);
}

int CMOXPVRRecorder::SetVideoAndAudioPids(const protocol::SetDemuxProperty &pids, LogPlace place) {
    m_vecDemuxPid.insert(m_vecDemuxPid.end(), {pids.videoPid, pids.pcrPid, pids.audioPid});
    MOX_LOG_AT(place, kLogProgress, "normal situation\n");
    if (pids.korean3d != 0) {
        MOX_LOG_AT(place, kLogReport, "[FAT]it is korea 3d, sub_video_pid:0x%x\n",
                   pids.subVideoPid);
        if (IsPidGiven(pids.audioDescriptionPid))
            return tv_recorder_set_property(
                m_handle, TV_RECORDER_PROPERTY_PCR_PID, pids.pcrPid, TV_RECORDER_PROPERTY_VIDEO_PID,
                pids.videoPid, TV_RECORDER_PROPERTY_AUDIO_PID, pids.audioPid,
                TV_RECORDER_PROPERTY_ADD_PID, pids.subVideoPid, TV_RECORDER_PROPERTY_AD_PID,
                pids.audioDescriptionPid, 0);
        return tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_PCR_PID, pids.pcrPid,
                                        TV_RECORDER_PROPERTY_VIDEO_PID, pids.videoPid,
                                        TV_RECORDER_PROPERTY_AUDIO_PID, pids.audioPid,
                                        TV_RECORDER_PROPERTY_ADD_PID, pids.subVideoPid, 0);
    }
    if (IsPidGiven(pids.audioDescriptionPid)) {
        MOX_LOG_AT(place, kLogReport, "[FAT]there exist audio description pid:0x%x\n",
                   pids.audioDescriptionPid);
        return tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_PCR_PID, pids.pcrPid,
                                        TV_RECORDER_PROPERTY_VIDEO_PID, pids.videoPid,
                                        TV_RECORDER_PROPERTY_AUDIO_PID, pids.audioPid,
                                        TV_RECORDER_PROPERTY_ADD_PID, pids.audioDescriptionPid, 0);
    }
    return tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_PCR_PID, pids.pcrPid,
                                    TV_RECORDER_PROPERTY_VIDEO_PID, pids.videoPid,
                                    TV_RECORDER_PROPERTY_AUDIO_PID, pids.audioPid, 0);
}

void CMOXPVRRecorder::DumpPids(mox::LogPriority priority, const char *marker,
                               LogPlace place) const {
    MOX_LOG_AT(place, priority, "%s===============now the pid info===============\n", marker);
    int index = 0;
    for (const unsigned int pid : m_vecDemuxPid)
        MOX_LOG_AT(place, priority, "%sdemux property index [%d], pid [0x%x]\n", marker, index++,
                   pid);
    MOX_LOG_AT(place, priority, "%s==============================================\n", marker);
}

int CMOXPVRRecorder::UpdateSi(unsigned char *record) {
    MOX_LOG(kLogTrace, "this func is started\n");
    if (!HasRecorder() || record == nullptr)
        return moxpvr::kMissing;
    const auto pids = mox::Read<protocol::UpdateSi>(record).pids;
    // Reserve first: a PID enters both list and set, or neither, if memory runs out.
    const auto added = std::count_if(pids.pid, pids.pid + pids.size(), [this](unsigned int pid) {
        return m_setSiPid.count(pid) == 0;
    });
    m_vecDemuxPid.reserve(m_vecDemuxPid.size() + static_cast<std::size_t>(added));
    int result = moxpvr::kSuccess;
    for (std::size_t i = 0; i < pids.size(); ++i) {
        const unsigned int pid = pids.pid[i];
        if (!m_setSiPid.insert(pid).second)
            continue;
        m_vecDemuxPid.push_back(pid);
        result = tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_ADD_PID, pid, 0);
        MOX_LOG(kLogReport,
                "[FAT] tv_recorder_set_property set pid[0x%x] index[%d], pid num [%d], "
                "result[%d]\n",
                pid, static_cast<int>(i), pids.announced, result);
    }
    DumpPids(kLogTrace, "[FAT] ");
    MOX_LOG(kLogTrace, "this func is ended, result[%d]\n", result);
    return result;
}

int CMOXPVRRecorder::ClearDemuxInfo() {
    MOX_LOG(kLogProgress, "ClearDemuxInfo | this func is started\n");
    DumpPids(kLogReport, "");
    if (!HasRecorder())
        return moxpvr::kMissing;
    MOX_LOG(kLogReport, "[FAT] the pid size is [%d]\n", static_cast<int>(m_vecDemuxPid.size()));
    int result = moxpvr::kSuccess;
    for (const unsigned int pid : m_vecDemuxPid) {
        result = tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_REMOVE_PID, pid, 0);
        MOX_LOG(kLogReport, "[FAT] ClearDemuxInfo | clear pid [%d], result [%d]\n", pid, result);
    }
    m_vecDemuxPid.clear();
    m_setSiPid.clear();
    MOX_LOG(kLogProgress, "ClearDemuxInfo | this func is ended, result [%d]\n", result);
    return result;
}

int CMOXPVRRecorder::SetChannelInfoProperty(unsigned char *record) {
    MOX_LOG(kLogProgress, "SetChannelInfoProperty | this func is started\n");
    if (!HasRecorder() || record == nullptr)
        return moxpvr::kMissing;
    const auto info = mox::Read<protocol::SetChannelInfoProperty>(record);
    LogChannelInfo(info);
    const int descrambleMode = TCVConfProvider::GetDescrambleMode();
    MOX_LOG(kLogReport, "iDescrambleMode %d\n", descrambleMode);
    const bool oneAudioPidOnly = info.pidDescrambled != 0 && descrambleMode == 1;
    if (oneAudioPidOnly)
        MOX_LOG(kLogReport, "only one audio pid is descrambled\n");
    else
        MOX_LOG(kLogReport, "all pids are descrambled\n");
    // The platform keeps the record as it came, with this one field set.
    record[info.OneAudioPid()] = oneAudioPidOnly ? 1 : 0;
    const int result = tv_recorder_set_property(
        m_handle, TV_RECORDER_PROPERTY_CHANNEL_INFO,
        reinterpret_cast<TvChannelInfo *>(record + info.PlatformRecord()), 0);
    MOX_LOG(kLogProgress, "SetChannelInfoProperty | this func is ended, result[%d]\n", result);
    return result;
}

#define MOX_LOG_RECEIVED(what, value) \
    MOX_LOG_AT(place, kLogProgress,   \
               "SetChannelInfoProperty | Received channelinfo in req_ptr " what "\n", value)

void CMOXPVRRecorder::LogChannelInfo(const protocol::SetChannelInfoProperty &info, LogPlace place) {
    MOX_LOG_RECEIVED("video pid is 0x%x", info.videoPid);
    MOX_LOG_RECEIVED("audio pid is 0x%x", static_cast<unsigned int>(info.audioPid));
    MOX_LOG_RECEIVED("pcr pid  is 0x%x", info.pcrPid);
    MOX_LOG_RECEIVED("program num  is %d", info.programNumber);
    MOX_LOG_RECEIVED("major is %d", info.major);
    MOX_LOG_RECEIVED("minor is %d", info.minor);
    MOX_LOG_RECEIVED("decode_type is %d", info.audioCodec);
    MOX_LOG_RECEIVED("pid_descrambled is %d", info.pidDescrambled);
    MOX_LOG_RECEIVED("audio_mode is %d", info.multiSoundMode);
}

#undef MOX_LOG_RECEIVED

int CMOXPVRRecorder::SetBackgroundAPID(unsigned char *record) {
    MOX_LOG(kLogProgress, "SetBackgroundAPID | this func is started\n");
    if (!HasRecorder() || record == nullptr)
        return moxpvr::kMissing;
    const unsigned int audio = mox::Read<protocol::SetBackgroundAPID>(record).audioPid;
    const int result = tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_AUDIO_PID, audio, 0);
    MOX_LOG(kLogReport, "SetBackgroundAPID | [apid: %d ]\n", audio);
    return result;
}

int CMOXPVRRecorder::SetATVProperty() {
    MOX_LOG(kLogProgress, "SetATVProperty | this func is started\n");
    if (!HasRecorder())
        return moxpvr::kMissing;
    // Analogue channels are digitised onto fixed PIDs.
    constexpr int kVideoPid = moxpvr::kAnalogueVideoPid;
    constexpr int kAudioPid = moxpvr::kAnalogueAudioPid;
    const int result = tv_recorder_set_property(
        m_handle, TV_RECORDER_PROPERTY_VIDEO_PID, kVideoPid, TV_RECORDER_PROPERTY_AUDIO_PID,
        kAudioPid, TV_RECORDER_PROPERTY_PCR_PID, kVideoPid, TV_RECORDER_PROPERTY_ADD_PID, 0x0,
        TV_RECORDER_PROPERTY_ADD_PID, 0x20, TV_RECORDER_PROPERTY_ANALOGUE_34, 0,
        TV_RECORDER_PROPERTY_ANALOGUE_52, 0, 0);
    MOX_LOG(kLogProgress, "SetATVProperty | this func is ended, result[%d]\n", result);
    return result;
}

int CMOXPVRRecorder::GetTunerIndex(void *reply, unsigned int *replyLength) {
    mox::Answer(protocol::GetTunerIndexReply{m_nTunerIndex}, reply, replyLength);
    return moxpvr::kSuccess;
}

// --- Sink, timeshift and progress ----------------------------------------------------------------

int CMOXPVRRecorder::SetSinkProperty(unsigned char *record) {
    MOX_LOG(kLogProgress, "SetSinkProperty | this func is started\n");
    if (!HasRecorder() || record == nullptr)
        return moxpvr::kMissing;
    const auto sink = mox::Read<protocol::SetSinkProperty>(record).sink;
    char *path = mox::PathIn(record, sink.Path());
    std::string fileName(path);
    MOX_LOG(kLogReport, "[FAT] SetSinkProperty | Received sink file name is %s\n", path);
    MOX_LOG(kLogReport, "[FAT] SetSinkProperty | Received sink is_timeshift is %d\n",
            sink.isTimeshift);
    MOX_LOG(kLogReport, "[FAT] SetSinkProperty | Received sink is_segment_record is %d\n",
            sink.isSegmentRecord);
    m_eRecordType =
        sink.isTimeshift != 0 ? moxpvr::RecordType::Timeshift : moxpvr::RecordType::Recording;
    MOX_LOG(kLogReport, "[FAT] SetSinkProperty | m_eRecordType[%d]\n",
            static_cast<int>(m_eRecordType));
    const int result = tv_recorder_set_property(
        m_handle, TV_RECORDER_PROPERTY_FILE_NAME, path, TV_RECORDER_PROPERTY_IS_TIMESHIFT,
        sink.isTimeshift, TV_RECORDER_PROPERTY_IS_SEGMENT_RECORD, sink.isSegmentRecord, 0);
    m_strFileName = std::move(fileName);
    MOX_LOG(kLogProgress, "SetSinkProperty | this func is ended, result[%d]\n", result);
    return result;
}

int CMOXPVRRecorder::SwapTS2Record(unsigned char *record) {
    MOX_LOG(kLogProgress, "SwapTS2Record | this func is started\n");
    if (!HasRecorder() || record == nullptr)
        return moxpvr::kMissing;
    auto sink = mox::Read<protocol::SwapTS2Record>(record).sink;
    TvRecorderSwap swap{sink.path.text, sink.isTimeshift, sink.isSegmentRecord};
    m_strFileName = sink.path.text;
    MOX_LOG(kLogProgress, "SwapTS2Record | Received sink file name is %s,  %s\n", sink.path.text,
            swap.fileName);
    MOX_LOG(kLogProgress, "SwapTS2Record | Received sink is_timeshift is %d,  %d\n",
            sink.isTimeshift, swap.isTimeshift);
    MOX_LOG(kLogProgress, "SwapTS2Record | the file name pointer is [%p]\n",
            static_cast<void *>(swap.fileName));
    const int result =
        tv_recorder_set_property(m_handle, TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD, &swap, 0);
    if (result == 0) {
        m_eRecordType = moxpvr::RecordType::Timeshift;
        const Sent sent = SendRecorderStarted();
        if (sent == Sent::Accepted)
            MOX_LOG(kLogReport, "SwapTS2Record | send event out with mox-handle successfully\n");
        else if (sent == Sent::Refused)
            MOX_LOG(kLogReport, "SwapTS2Record | send event out with mox-handle failed\n");
    }
    MOX_LOG(kLogProgress, "SwapTS2Record | this func is ended, result[%d]\n", result);
    return result;
}

int CMOXPVRRecorder::GetTSDuration(unsigned char *record, void *reply, unsigned int *replyLength) {
    MOX_LOG(kLogProgress, "GetTSDuration | this func is started\n");
    if (!HasRecorder() || record == nullptr)
        return moxpvr::kMissing;
    const unsigned int hddSize = mox::Read<protocol::GetTSDuration>(record).diskSize;
    unsigned int duration = 0;
    const int result = tv_recorder_get_timeshift_duration(m_handle, hddSize, &duration);
    MOX_LOG(kLogProgress, "GetTSDuration | hdd_size [%d] timeshift_duration [%d]\n", hddSize,
            duration);
    mox::Answer(protocol::GetTSDurationReply{duration}, reply, replyLength);
    MOX_LOG(kLogProgress, "GetTSDuration | this func is ended, result [%d]\n", result);
    return result;
}

int CMOXPVRRecorder::GetProgress(void *reply, unsigned int *replyLength) {
    MOX_LOG(kLogProgress, "GetProgress | this func is started\n");
    if (!HasRecorder())
        return moxpvr::kMissing;
    long long position = 0;
    long long duration = 0;
    const int result = tv_recorder_get_position(m_handle, &position, &duration);
    MOX_LOG(kLogProgress, "GetProgress | pos[%lld] duration[%lld]\n", position, duration);
    mox::Answer(protocol::GetProgressReply{static_cast<std::uint32_t>(position),
                                           static_cast<std::uint32_t>(duration)},
                reply, replyLength);
    MOX_LOG(kLogProgress, "GetProgress | this func is ended, result[%d]\n", result);
    return result;
}

int CMOXPVRRecorder::GetRecordProgress(long &position) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (!HasRecorder())
        return moxpvr::kMissing;
    long long recorded = 0;
    long long duration = 0;
    const int result = tv_recorder_get_position(m_handle, &recorded, &duration);
    MOX_LOG(kLogProgress, "GetProgress | pos[%lld] duration[%lld]\n", recorded, duration);
    // 32 bits wherever `long` is wider: callers on the TV know no more.
    position = static_cast<std::int32_t>(recorded);
    MOX_LOG(kLogProgress, "this func is ended, nResult[%d]\n", result);
    return result;
}

// --- Callbacks of the platform recorder ----------------------------------------------------------

namespace {

constexpr mox::DetailOf kApplicationDetails[] = {
    {2, EventDetail::RecorderApplication2},
    {4, EventDetail::RecorderApplication4},
};

constexpr mox::DetailOf kErrorDetails[] = {
    {0, EventDetail::RecorderError0},
    {2, EventDetail::RecorderError2},
    {4, EventDetail::RecorderError4},
};

}  // namespace

void CMOXPVRRecorder::AppCB(GstMessage *message) {
    MOX_LOG(kLogProgress, "AppCB | this func is started\n");
    if (message == nullptr) {
        MOX_LOG(kLogReport, "failed [%s]\n\n", "param");
        return;
    }
    const int type = mox::MessageField(message, "app_type");
    const int param = mox::MessageField(message, "app_param");
    MOX_LOG(kLogProgress, "AppCB | event type [%d]\n", type);
    const EventDetail detail = mox::FindDetail(kApplicationDetails, type);
    if (detail == EventDetail::None) {
        MOX_LOG(kLogReport, "[FAT] AppCB | Invalid event detail type\n");
        return;
    }
    const moxpvr::SysChangeEvent event{m_nHandle, detail, param, -1, -1};
    MOX_LOG(kLogProgress, "AppCB | app_type[%d] app_param[%d], c0[%d] c1[%d] L1[%d]\n", type, param,
            event.handle, static_cast<int>(event.detail), event.parameter);
    if (mox::Send(event))
        MOX_LOG(kLogProgress, "AppCB | send event out successfully\n");
    else
        MOX_LOG(kLogReport, "[FAT] AppCB | send event failed\n");
    MOX_LOG(kLogProgress, "AppCB | this func is ended\n");
}

void CMOXPVRRecorder::ErrorCB(GstMessage *message) {
    MOX_LOG(kLogProgress, "ErrorCB | this func is started\n");
    if (message == nullptr) {
        MOX_LOG(kLogReport, "failed [%s]\n\n", "param");
        return;
    }
    const mox::GstError error(message);
    if (!error.HasError() || !error.HasDebugText())
        return;
    g_printerr("ErrorCB | Error received from element %s: %s\n", error.elementName(), error.text());
    MOX_LOG(kLogProgress, "ErrorCB | error code is [%d]\n", error.code());
    const EventDetail detail = mox::FindDetail(kErrorDetails, error.code());
    if (detail == EventDetail::None) {
        MOX_LOG(kLogReport, "[FAT] ErrorCB | Invalid event detail type\n");
        return;
    }
    const moxpvr::SysChangeEvent event{m_nHandle, detail};
    MOX_LOG(kLogProgress, "ErrorCB | received event, handle [%d] event [%d]\n", event.handle,
            static_cast<int>(event.detail));
    if (mox::Send(event))
        MOX_LOG(kLogProgress, "ErrorCB | send event out successfully\n");
    else
        MOX_LOG(kLogReport, "[FAT] ErrorCB | send event out failed\n");
    MOX_LOG(kLogProgress, "ErrorCB | this func is ended\n");
}

void CMOXPVRRecorder::AsmCB(TvStreamAsmSoundCommand *command) {
    constexpr int kReportedCommand = 2;
    MOX_LOG(kLogProgress, "AsmCB | this func is started\n");
    if (command == nullptr) {
        MOX_LOG(kLogReport, "failed [%s]\n\n", "param");
        return;
    }
    MOX_LOG(kLogProgress, "AsmCB | eTvStreamAsmSoundCommand[%d]\n", command->command);
    if (command->command != kReportedCommand) {
        MOX_LOG(kLogProgress, "Unknown TvStreamAsmSoundCommand\n");
        return;
    }
    const moxpvr::SysChangeEvent event{m_nHandle, EventDetail::RecorderSoundCommand2, 0, -1, -1};
    MOX_LOG(kLogProgress, "AsmCB | eTvStreamAsmSoundCommand[%d], c0[%d] c1[%d] L1[%d]\n",
            command->command, event.handle, static_cast<int>(event.detail), event.parameter);
    if (mox::Send(event))
        MOX_LOG(kLogProgress, "AsmCB | send event out successfully\n");
    else
        MOX_LOG(kLogReport, "[FAT] AsmCB | send event failed\n");
}

void CMOXPVRRecorder::DoTvpCallback(TVCallbackType /*type*/, void * /*data*/, void * /*userData*/) {
    MOX_LOG(kLogProgress, "DoTvpCallback | this func is started\n");
    MOX_LOG(kLogProgress, "DoTvpCallback | this func is ended\n");
}

int CMOXPVRRecorder::RecordInformPowerChange(unsigned char *record) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (!HasRecorder())
        return moxpvr::kBadRequest;
    if (record == nullptr)
        return moxpvr::kMissing;
    MOX_LOG(kLogProgress, "power state [%d]\n",
            mox::Read<protocol::RecordInformPowerChange>(record).powerState);
    return moxpvr::kSuccess;
}

// --- Registry ------------------------------------------------------------------------------------

CMOXPVRRecorderMgr *CMOXPVRRecorderMgr::m_pRecorderMgr = nullptr;

CMOXPVRRecorderMgr *CMOXPVRRecorderMgr::GetInstance() {
    if (m_pRecorderMgr == nullptr)
        m_pRecorderMgr = new (std::nothrow) CMOXPVRRecorderMgr;
    return m_pRecorderMgr;
}

CMOXPVRRecorderMgr::CMOXPVRRecorderMgr() {
    MOX_LOG(kLogProgress, "CMOXPVRRecorderMgr |  constructor recorder mgr\n");
}

CMOXPVRRecorderMgr::~CMOXPVRRecorderMgr() {
    MOX_LOG(kLogProgress, "CMOXPVRRecorderMgr |  destructor recorder mgr\n");
    m_pRecorderMgr = nullptr;
}

CMOXPVRRecorder *CMOXPVRRecorderMgr::SetRecorderHandle(MOXHandle handle, void *recorder,
                                                       int tunerIndex) {
    MOX_LOG(kLogProgress, "this func is started\n");
    if (recorder == nullptr) {
        MOX_LOG(kLogReport, "[FAT] CMOXPVRRecorderMgr | invalid parameter recorder handle\n");
        return nullptr;
    }
    std::unique_ptr<CMOXPVRRecorder> instance(new (std::nothrow) CMOXPVRRecorder);
    if (instance == nullptr || !m_recorders.Store(handle, instance.get())) {
        MOX_LOG(kLogReport, "[FAT] new CMOXPVRRecorder failed\n");
        return nullptr;
    }
    CMOXPVRRecorder *registered = instance.release();
    registered->Initilize(handle, recorder, tunerIndex);
    MOX_LOG(kLogProgress, "this func is ended\n");
    return registered;
}

CMOXPVRRecorder *CMOXPVRRecorderMgr::GetRecorderInstance(MOXHandle handle) {
    CMOXPVRRecorder *recorder = m_recorders.Find(handle);
    if (recorder != nullptr)
        MOX_LOG(kLogTrace, "find recorder pointer [%p]\n", static_cast<void *>(recorder));
    return recorder;
}

int CMOXPVRRecorderMgr::Destroy(MOXHandle handle) {
    m_recorders.Destroy(handle);
    return moxpvr::kSuccess;
}
