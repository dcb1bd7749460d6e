#include "log/Operations.h"

#include <algorithm>
#include <iterator>

namespace tool::log {

namespace {

constexpr char kRecord[] = "MoxPvrRecord.cpp";
constexpr char kPlayback[] = "MoxPvrPlayback.cpp";
constexpr char kEntry[] = "MoxPvr.cpp";

constexpr StepKind kDirect = StepKind::Operation;
constexpr StepKind kCalledBack = StepKind::Callback;
constexpr Logged kAlways = Logged::Always;
constexpr Logged kInTrace = Logged::InTrace;
constexpr Logged kPerhaps = Logged::Perhaps;

constexpr Operation kOperations[] = {
    {kRecord, "SetHandle", kDirect, kAlways, kAlways, 1, "", ""},
    {kRecord, "SetDemuxProperty", kDirect, kAlways, kAlways, 3, "", ""},
    {kRecord, "SetSinkProperty", kDirect, kAlways, kAlways, 4, "tv_recorder_set_property", ""},
    {kRecord, "SetChannelInfoProperty", kDirect, kAlways, kAlways, 10, "tv_recorder_set_property",
     ""},
    {kRecord, "SetATVProperty", kDirect, kAlways, kAlways, 0, "tv_recorder_set_property", ""},
    {kRecord, "Start", kDirect, kAlways, kAlways, 0, "tv_recorder_start", ""},
    {kRecord, "Pause", kDirect, kAlways, kAlways, 0, "tv_recorder_pause", ""},
    {kRecord, "Resume", kDirect, kAlways, kAlways, 0, "tv_recorder_resume", ""},
    {kRecord, "Stop", kDirect, kAlways, kAlways, 0, "tv_recorder_stop", ""},
    {kRecord, "GetProgress", kDirect, kAlways, kAlways, 1, "tv_recorder_get_position", ""},
    {kRecord, "SwapTS2Record", kDirect, kAlways, kAlways, 3, "tv_recorder_set_property", ""},
    {kRecord, "UpdateSi", kDirect, kInTrace, kInTrace, 0, "", ""},
    {kRecord, "GetTSDuration", kDirect, kAlways, kAlways, 1, "tv_recorder_get_timeshift_duration",
     ""},
    {kRecord, "ClearDemuxInfo", kDirect, kAlways, kAlways, 1, "", ""},
    {kRecord, "RecordInformPowerChange", kDirect, kAlways, kAlways, 1, "", ""},
    {kRecord, "GetTunerIndex", kDirect, kPerhaps, kPerhaps, 0, "", ""},
    {kRecord, "SetBackgroundAPID", kDirect, kAlways, kAlways, 1, "", ""},
    {kRecord, "SetDuration", kDirect, kAlways, kAlways, 1, "", ""},
    {kRecord, "PreStart", kDirect, kAlways, kAlways, 0,
     "tv_recorder_set_playing_state_for_tuner_and_demuxer", ""},
    {kRecord, "GetState", kDirect, kAlways, kAlways, 1, "", ""},
    {kRecord, "GetServiceId", kDirect, kAlways, kAlways, 1, "", ""},
    {kRecord, "GetFileName", kDirect, kAlways, kPerhaps, 1, "", ""},
    {kRecord, "GetRecordProgress", kDirect, kAlways, kAlways, 1, "tv_recorder_get_position", ""},
    {kRecord, "SetRecorderHandle", kDirect, kAlways, kAlways, 0, "", ""},
    {kRecord, "RecordCB", kCalledBack, kAlways, kAlways, 2, "", ""},
    {kRecord, "AppCB", kCalledBack, kAlways, kAlways, 1, "", " RecordCB "},
    {kRecord, "ErrorCB", kCalledBack, kAlways, kPerhaps, 1, "", " RecordCB "},
    {kRecord, "AsmCB", kCalledBack, kAlways, kPerhaps, 1, "", " RecordCB "},
    {kRecord, "DoTvpCallback", kCalledBack, kAlways, kAlways, 0, "", ""},

    {kPlayback, "SetHandle", kDirect, kAlways, kAlways, 1, "", ""},
    {kPlayback, "SetProperty", kDirect, kAlways, kAlways, 6, "tv_stream_set_property", ""},
    {kPlayback, "Start", kDirect, kAlways, kAlways, 0, "", ""},
    {kPlayback, "Pause", kDirect, kPerhaps, kAlways, 0, "tv_player_pause", ""},
    {kPlayback, "Resume", kDirect, kPerhaps, kAlways, 0, "tv_player_resume", ""},
    {kPlayback, "TrickPlay", kDirect, kAlways, kAlways, 1, "tv_player_set_play_speed", ""},
    {kPlayback, "Skip", kDirect, kAlways, kAlways, 0, "", ""},
    {kPlayback, "Stop", kDirect, kAlways, kAlways, 0, "tv_stream_stop", ""},
    {kPlayback, "GetProgress", kDirect, kAlways, kAlways, 1, "tv_player_get_position", ""},
    {kPlayback, "StepFrame", kDirect, kAlways, kAlways, 0, "tv_player_step_play", ""},
    {kPlayback, "Ready", kDirect, kPerhaps, kAlways, 0, "tv_player_ready", ""},
    {kPlayback, "Reset", kDirect, kAlways, kAlways, 0, "", " SetPidProperty "},
    {kPlayback, "AllPidDescrambled", kDirect, kAlways, kAlways, 0, "", ""},
    {kPlayback, "GetPlaybackProgress", kDirect, kPerhaps, kAlways, 1, "tv_player_get_position", ""},
    {kPlayback, "GetFileName", kDirect, kAlways, kPerhaps, 1, "", ""},
    {kPlayback, "GetFileType", kDirect, kPerhaps, kPerhaps, 0, "", ""},
    {kPlayback, "GetPidPropertyByUri", kDirect, kPerhaps, kPerhaps, 0, "", ""},
    {kPlayback, "GetPidProperty", kDirect, kPerhaps, kPerhaps, 0, "", ""},
    {kPlayback, "SetPidProperty", kDirect, kAlways, kPerhaps, 0, "", ""},
    {kPlayback, "IsExceptionAudioChangeCase", kDirect, kAlways, kPerhaps, 0, "",
     " SetPidProperty "},
    {kPlayback, "SetPlaybackProperty", kDirect, kPerhaps, kInTrace, 1, "tv_stream_set_property",
     ""},
    {kPlayback, "ResetChannel", kDirect, kAlways, kAlways, 0, "", " Skip AppCB "},
    {kPlayback, "SetADProperty", kDirect, kPerhaps, kPerhaps, 0, "", ""},
    {kPlayback, "DisableADProperty", kDirect, kPerhaps, kAlways, 0, "", ""},
    {kPlayback, "SetPlaybackHandleStream", kDirect, kAlways, kAlways, 0, "", ""},
    {kPlayback, "Initilize", kDirect, kAlways, kAlways, 2, "", " SetPlaybackHandleStream "},
    {kPlayback, "DoTvpCallback", kCalledBack, kInTrace, kAlways, 0, "", ""},
    {kPlayback, "AppCB", kCalledBack, kAlways, kPerhaps, 1, "", " DoTvpCallback "},
    {kPlayback, "UnmuteCB", kCalledBack, kInTrace, kAlways, 0, "", " DoTvpCallback "},
    {kPlayback, "ErrorCB", kCalledBack, kAlways, kPerhaps, 0, "", " DoTvpCallback "},
};

}  // namespace

const Operation *FindOperation(std::string_view file, std::string_view function) {
    const auto *found = std::find_if(
        std::begin(kOperations), std::end(kOperations),
        [&](const Operation &row) { return function == row.function && file == row.file; });
    return found != std::end(kOperations) ? found : nullptr;
}

const Operation *OperationOf(Side side, const std::string &command) {
    return FindOperation(side == Side::Recorder ? kRecord : kPlayback, command);
}

Side SideOf(const Line &line) {
    const bool isEntryOfPlayback =
        line.file == kEntry && line.function.find("record") == std::string::npos;
    return line.file == kPlayback || isEntryOfPlayback ? Side::Playback : Side::Recorder;
}

}  // namespace tool::log
