#include <iterator>

#include "log/Messages.h"

namespace tool::log {

namespace {

constexpr StepKind kOwn = StepKind::Operation;  // the message belongs to the operation's own step

constexpr char kSetRecorder[] = "tv_recorder_set_property";
constexpr char kSetStream[] = "tv_stream_set_property";
constexpr char kSysChange[] = "event 31";

using Kind = StepKind;

constexpr Message kMessages[] = {
    // --- Start and end of operations
    {"this func is started", Role::Begin, kOwn, ""},
    {"this func is started, LAST_MODIFY_DATE[{built}]", Role::Begin, kOwn, ""},
    {"this func is started, LastModifyDate[{built}]", Role::Begin, kOwn, ""},
    {"NEW!!! DoTvpCallback | this func is started !!!NEW", Role::Begin, kOwn, ""},
    {"this func is called", Role::Begin, kOwn, ""},
    {"ResetChannel started, new_time = {time}", Role::Begin, kOwn, ""},
    {"this func is ended", Role::End, kOwn, ""},
    {"this func is ended, result [{result}]", Role::End, kOwn, ""},
    {"this func is ended, result[{result}]", Role::End, kOwn, ""},
    {"this func is ended, nResult[{result}]", Role::End, kOwn, ""},
    {"ResetChannel end, result [{result}]", Role::End, kOwn, ""},

    // --- Requests
    {"find recorder pointer [{recorder}]", Role::Lookup, kOwn, ""},
    {"inSize[{size}] inData[{text}]", Role::RequestText, kOwn, ""},
    {"cmd [{command}]", Role::Command, kOwn, ""},
    {"play command [{command}]", Role::Command, kOwn, ""},
    {"error command", Role::NewStep, Kind::Refusal, "unknown command", true},
    {"error command ", Role::NewStep, Kind::Refusal, "unknown command", true},
    {"out of memory", Role::NewStep, Kind::Refusal, "out of memory", true},
    {"failed [{missing}]", Role::LastStep, Kind::Refusal, "something is missing", true},

    // --- Registration
    {"g_temp_tv_player is set as [{player}]", Role::LastValues, kOwn, ""},
    {"g_temp_tv_player stream is set as [{stream}]", Role::LastValues, kOwn, ""},
    {"g_temp_playback is null, which should be set firstly", Role::LastStep, Kind::Refusal,
     "no playback is registered", true},
    {"g_temp_recorder is null, which should be set firstly", Role::LastStep, Kind::Refusal,
     "no recorder is registered", true},
    {"constructor recorder mgr", Role::LastStep, Kind::State, "list of recorders created"},
    {"destructor recorder mgr", Role::LastStep, Kind::State, "list of recorders destroyed"},
    {"constructor playback mgr", Role::LastStep, Kind::State, "list of playbacks created"},
    {"destructor playback mgr", Role::LastStep, Kind::State, "list of playbacks destroyed"},
    {"invalid parameter recorder handle", Role::LastStep, Kind::Refusal, "no platform recorder",
     true},
    {"invalid parameter playback handle or stream", Role::LastStep, Kind::Refusal,
     "no platform player or stream", true},
    {"new CMOXPVRRecorder failed", Role::LastStep, Kind::Refusal, "out of memory", true},
    {"pPlayback is new(std::nothrow) failed", Role::LastStep, Kind::Refusal, "out of memory", true},
    {"m_pPlaybackMgr is  new(std::nothrow)  failed", Role::LastStep, Kind::Refusal, "out of memory",
     true},
    {"m_tv_player[{player}]", Role::Values, kOwn, ""},
    {"m_tv_stream[{stream}]", Role::Values, kOwn, ""},
    {"handle [{handle}] service_id[{serviceId}] is_support_ci[{ci}]", Role::LastValues, kOwn, ""},
    {"handle [{handle}] is_support_ci[{ci}]", Role::LastValues, kOwn, ""},

    // --- Queries
    {"m_eRecordState[{state}]", Role::LastValues, kOwn, ""},
    {"m_ePlaybackState[{state}]", Role::LastValues, kOwn, ""},
    {"ullServiceId[{serviceId}]", Role::LastValues, kOwn, ""},
    {"fileName[{fileName}]", Role::Values, kOwn, ""},
    {"pos[{position}] duration[{duration}]", Role::Values, kOwn, ""},
    {"position[{position}] duration[{duration}]", Role::Values, kOwn, ""},
    {"hdd_size [{diskSize}] timeshift_duration [{duration}]", Role::Values, kOwn, ""},
    {"power state [{powerState}]", Role::LastValues, kOwn, ""},
    {"duration[{duration}]", Role::LastValues, kOwn, ""},

    // --- Streams of a recording
    {"Received demux video pid is {videoPid}", Role::Values, kOwn, ""},
    {"audio_pid is {audioPid}", Role::Values, kOwn, ""},
    {"Received demux pcr pid  is {pcrPid}", Role::Values, kOwn, ""},
    {"normal situation", Role::NewStep, Kind::State, "video and audio"},
    {"==========audio only, must set audio pid first, then don't set pcr pid, must not set "
     "video pid!===========",
     Role::NewStep, Kind::State, "audio only"},
    {"it is korea 3d, sub_video_pid:{subVideoPid}", Role::Values, kOwn, ""},
    {"there exist audio description pid:{audioDescriptionPid}", Role::Values, kOwn, ""},
    {"tv_recorder_set_property, result[{result}]", Role::NewStep, Kind::PlatformCall, kSetRecorder},
    {"tv_recorder_set_property set pid[{pid}] index[{index}], pid num [{count}], "
     "result[{result}]",
     Role::NewStep, Kind::PlatformCall, "tv_recorder_set_property ADD_PID"},
    {"===============now the pid info===============", Role::ListBegin, kOwn, ""},
    {"demux property index [{index}], pid [{pid}]", Role::ListEntry, kOwn, ""},
    {"==============================================", Role::ListEnd, kOwn, ""},
    {"the pid size is [{count}]", Role::Values, kOwn, ""},
    {"clear pid [{pid}], result [{result}]", Role::NewStep, Kind::PlatformCall,
     "tv_recorder_set_property REMOVE_PID"},
    {"[apid: {audioPid} ]", Role::LastValues, kOwn, ""},

    // --- Channel information
    {"Received channelinfo in req_ptr video pid is {videoPid}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr audio pid is {audioPid}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr pcr pid  is {pcrPid}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr program num  is {programNumber}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr major is {major}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr minor is {minor}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr decode_type is {audioCodec}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr pid_descrambled is {pidDescrambled}", Role::Values, kOwn, ""},
    {"Received channelinfo in req_ptr audio_mode is {multiSoundMode}", Role::Values, kOwn, ""},
    {"iDescrambleMode {descrambleMode}", Role::Values, kOwn, ""},
    {"only one audio pid is descrambled", Role::NewStep, Kind::State, "one audio PID descrambled"},
    {"all pids are descrambled", Role::NewStep, Kind::State, "all PIDs descrambled"},

    // --- Files of a recording
    {"Received sink file name is {path}", Role::Values, kOwn, ""},
    {"Received sink file name is {path},  {handedOn}", Role::Values, kOwn, ""},
    {"Received sink is_timeshift is {isTimeshift}", Role::Values, kOwn, ""},
    {"Received sink is_timeshift is {isTimeshift},  {handedOn}", Role::Values, kOwn, ""},
    {"Received sink is_segment_record is {isSegmentRecord}", Role::Values, kOwn, ""},
    {"m_eRecordType[{recordType}]", Role::Values, kOwn, ""},
    {"the file name pointer is [{pointer}]", Role::Values, kOwn, ""},

    // --- Source of a playback
    {"Received playback uri is {path}", Role::Values, kOwn, ""},
    {"Received start pos is {startPosition}", Role::Values, kOwn, ""},
    {"Received is_timeshift is {isTimeshift}", Role::Values, kOwn, ""},
    {"Received is_pastPlayback is {isPastPlayback}", Role::Values, kOwn, ""},
    {"struct buf is NULL.", Role::LastStep, Kind::Refusal, "no record", true},
    {"Set3DMode off", Role::NewStep, Kind::PlatformCall, "tv_stream_set_kr3d_mode_format off"},
    {"tv_stream_get_channel_info is called failed, result[{result}]", Role::LastStep, Kind::Refusal,
     "tv_stream_get_channel_info", true},
    {"tv_stream_get_channel_info is called failed, result[{result}], channel_info[{record}]",
     Role::LastStep, Kind::Refusal, "tv_stream_get_channel_info", true},
    {"get channel info failed, result[{result}]", Role::LastStep, Kind::Refusal,
     "tv_stream_get_channel_info", true},
    {"channel_info_temp is NULL.", Role::LastStep, Kind::Refusal, "no channel information", true},
    {"channel_info_temp->reserved[1]:{oneAudio}", Role::Values, kOwn, ""},
    {"Video Pid:{videoPid}, Audio Pid:{audioPid},PCR pid:{pcrPid} "
     "audioDecodeType:{audioCodec} videoType:{videoCodec}",
     Role::NewStep, Kind::Value, "channel read"},
    {"video pid:{videoPid},audio pid:{audioPid},pcr pid:{pcrPid}", Role::LastStep, Kind::Value,
     "channel read"},
    {"m_bIsATV[{analogue}], it's analog recorded file", Role::Values, kOwn, ""},
    {"m_bIsATV[{analogue}], it's not analog recorded file", Role::Values, kOwn, ""},
    {"the path of inf file is [{path}]", Role::Values, kOwn, ""},
    {"the file path of srf is null", Role::LastStep, Kind::Refusal, "no information file", true},
    {"the file path of srf exists", Role::Values, kOwn, ""},
    {"fopen failed [{path}]", Role::LastStep, Kind::Refusal,
     "the information file cannot be opened", true},
    {"fread failed, ret [{count}]", Role::LastStep, Kind::Refusal, "the information file is empty",
     true},
    {"ATV channel", Role::Values, kOwn, ""},
    {"ChannelType:{channelType} fileType:{fileType}", Role::LastValues, kOwn, ""},

    // --- Playback
    {"tv_player_start is ended, result [{result}]", Role::NewStep, Kind::PlatformCall,
     "tv_stream_start"},
    {"TIUserDataManager::Instance()->Start is called, m_tv_stream[{stream}]bResult[{answer}]",
     Role::LastStep, Kind::PlatformCall, "TIUserDataManager::Start"},
    {"TIUserDataManager::Instance()->Stop is called, bResult[{answer}]", Role::NewStep,
     Kind::PlatformCall, "TIUserDataManager::Stop"},
    {"Previous CHANNELCHANGED not finished: {pending}, ignore trick", Role::LastStep, Kind::Refusal,
     "trick play dropped: a channel change waits for its unmute", true},
    {"Previous CHANNELCHANGED not finished: {pending}, ignore pause", Role::LastStep, Kind::Refusal,
     "skip dropped: a channel change waits for its unmute", true},
    {"Previous CHANNELCHANGED not finished: {pending}", Role::LastStep, Kind::Refusal,
     "crossing dropped: a channel change waits for its unmute", true},
    {"Previous CHANNELCHANGED given up, no unmute for {waited} ms", Role::NewStep, Kind::State,
     "channel change given up: no unmute came", true},
    {"Received the trick play event with rate @mox-pvr {rate}", Role::Values, kOwn, ""},
    {"set still mode to 0", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property VIDEO_STILL_MODE 0"},
    {"channel not change, do skip", Role::NewStep, Kind::State,
     "same channel: tv_player_set_position"},
    {"skip meet new channel,time [{time}], needUmute=[{needsUnmute}]", Role::NewStep, Kind::State,
     "another channel"},
    {"channel info same vpid = [{videoPid}],vtype = [{videoCodec}]", Role::LastStep, Kind::State,
     "the channel is set up already"},
    {"PVRSYS_EVENT_CHANNELCHANGED {time}", Role::Values, kOwn, ""},
    {"reset channel to: {time}, needUmute:{needsUnmute}", Role::Values, kOwn, ""},
    {"audio only case", Role::Values, kOwn, ""},
    {"audio only, set Atype = {audioCodec}", Role::Values, kOwn, ""},
    {"A&V, set Atype = {audioCodec}, Vtype = {videoCodec}", Role::Values, kOwn, ""},
    {"channel change case, donot umute", Role::NewStep, Kind::State,
     "the picture stays as it is: a channel change ends first"},
    {"channel change umute, recover speed:{rate}, time:{time}", Role::NewStep, Kind::PlatformCall,
     "tv_player_set_position"},

    // --- Streams of a playback
    {"videoPid[{videoPid}] audioPid[{audioPid}] pcrPid[{pcrPid}]", Role::Values, kOwn, ""},
    {"videoPid[{videoPid}] videoCodecType[{videoCodec}] audioPid[{audioPid}] "
     "audioCodecType[{audioCodec}] pcrPid[{pcrPid}]",
     Role::Values, kOwn, ""},
    {"m_bAllAudioPidDescrambled[{allDescrambled}] videoPid[{videoPid}] "
     "videoCodecType[{videoCodec}] audioPid[{audioPid}] audioCodecType[{audioCodec}] "
     "pcrPid[{pcrPid}]",
     Role::Values, kOwn, ""},
    {"m_bAllAudioPidDescrambled[{allDescrambled}] videoPid[{videoPid}] "
     "videoCodecType[{videoCodec}] audioPid[{audioPid}] audioCodecType[{audioCodec}] "
     "pcrPid[{pcrPid}] audioSelectionType[{selection}]",
     Role::Values, kOwn, ""},
    {"videoPid[{videoPid}] audioPid[{audioPid}] pcrPid[{pcrPid}] videoType[{videoCodec}] "
     "autioType[{audioCodec}]",
     Role::Values, kOwn, ""},
    {"m_bAllAudioPidDescrambled {allDescrambled}", Role::Values, kOwn, ""},
    {"set pcr pid[{pcrPid}]", Role::NewStep, Kind::PlatformCall, "tv_stream_set_property PCR_PID"},
    {"set video pid[{videoPid}]", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property VIDEO_PID"},
    {"set audio pid[{audioPid}]", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property AUDIO_PID"},
    {"pid is wrong, do nothing. nVideoPid[{videoPid}][{}] nAudioPid[{audioPid}][{}] "
     "nPcrPid[{pcrPid}][{}]",
     Role::LastStep, Kind::Refusal, "a PID that is none", true},
    {"Reset() is called", Role::Values, kOwn, ""},
    {"Reset(Audio only) is called", Role::Values, kOwn, ""},
    {"tv_stream_set_property Audio / Video codec all", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property audio and video codec"},
    {"tv_stream_set_property Audio codec only", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property audio codec"},
    {"All PIDs are same with previous PIDs. Don't need to set any pids", Role::NewStep, Kind::State,
     "the PIDs are set already"},
    {"Video PID changed case. It will be handle by calling ResetChannel()", Role::LastStep,
     Kind::State, "another video PID: the channel change programs it"},
    {"Audio codec type changed case", Role::NewStep, Kind::State, "another audio codec"},
    {"TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE[{stereoMode}][result:{result}]", Role::LastStep,
     Kind::PlatformCall, "tv_stream_set_property AUDIO_DECODER_MPEG_STEREO_MODE"},
    {"m_bAllAudioPidDescrambled[{allDescrambled}] case. we must not set audio pid which was "
     "set from SI",
     Role::LastStep, Kind::State, "the audio PID stays: one audio PID is descrambled"},
    {"AUDIO_SELECTION_USER. we will set audio pid which was set from SI", Role::LastStep,
     Kind::State, "the user chose the audio PID"},
    {"audio description was enabled. So AD's codec should be set again", Role::NewStep,
     Kind::PlatformCall, "tv_stream_set_property AD_CODEC_TYPE"},
    {"Error : fail to call tv_stream_set_property ", Role::NewStep, Kind::Refusal, kSetStream,
     true},
    {"it is korea 3d, sub_vpid:{subVideoPid}", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_3d_mode"},

    // --- Audio description
    {"audio description enable already", Role::NewStep, Kind::State,
     "audio description is on already"},
    {"Same AD pid has already set before", Role::LastStep, Kind::State,
     "the audio description PID is set already"},
    {"Error : tv_stream_enable_audio_description return [{result}]", Role::LastStep, Kind::Refusal,
     "tv_stream_enable_audio_description", true},
    {"auido description enable[result:{result} pid:{pid}]", Role::NewStep, Kind::PlatformCall,
     "tv_stream_enable_audio_description"},
    {"Error : tv_stream_set_property return [{result}]", Role::LastStep, Kind::Refusal, kSetStream,
     true},
    {"auido description pid was set [result:{result} pid:{pid} adEncType:{codec}]", Role::NewStep,
     Kind::PlatformCall, "tv_stream_set_property AD_PID"},
    {"m_uAudioDescPid[{audioDescriptionPid}], m_adEncType[{codec}]", Role::LastValues, kOwn, ""},
    {"auido description disable [result:{result}]", Role::LastStep, Kind::PlatformCall,
     "tv_stream_disable_audio_description"},

    // --- Callbacks
    {"TVCallbackType values: TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION[{}], "
     "TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR[{}],  TV_PLAYER_CALLBACK_ASM_COMMAND[{}]",
     Role::Values, kOwn, ""},
    {"received callback event, callback_type [{type}]", Role::Values, kOwn, ""},
    {"recorder pointer is null", Role::LastStep, Kind::Refusal, "no recorder", true},
    {"Unknow callback type", Role::NewStep, Kind::Refusal, "unknown type of callback", true},
    {"event type [{type}]", Role::Values, kOwn, ""},
    {"event_type is [{type}]", Role::Values, kOwn, ""},
    {"error code is [{code}]", Role::Values, kOwn, ""},
    {"Error received from element {element}: {text}", Role::Values, kOwn, ""},
    {"eTvStreamAsmSoundCommand[{command}]", Role::Values, kOwn, ""},
    {"Unknown TvStreamAsmSoundCommand", Role::LastStep, Kind::State,
     "sound command that is not reported"},
    {"Invalid event detail type", Role::LastStep, Kind::Refusal, "a number that no event reports",
     true},
    {"Error : pCallbackProperty is NULL", Role::LastStep, Kind::Refusal,
     "callback without its argument", true},
    {"SubEventType[{type}], timeCode[{time}]", Role::Values, kOwn, ""},
    {"errCode[{code}]", Role::Values, kOwn, ""},
    {"This is PVRSYS_EVENT_CHANNELCHANGED case just return", Role::LastStep, Kind::State,
     "channel change: left to the other callback"},
    {"TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE", Role::NewStep, Kind::State,
     "the video decoder can be unmuted"},
    {"TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK", Role::NewStep, Kind::State,
     "the audio decoder can be unmuted"},
    {"This is not Audio ch. so just skip", Role::LastStep, Kind::State,
     "nothing to do: the channel has video"},
    {"This is Audio ch. Send UNMUTE event", Role::Values, kOwn, ""},
    {"Error : Received event [{type}]", Role::LastStep, Kind::Refusal, "unknown type of callback",
     true},
    {"Receive event [{type}]", Role::LastStep, Kind::State, "nothing to unmute"},
    {"tv_stream_set_property( TV_PROPERTY_PVRSRC_MUTE) to FALSE", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property PVRSRC_MUTE 0"},
    {"It's analog recorded file", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property VIDEO_STILL_MODE 0"},
    {"It's not analog recorded file", Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property VIDEO_STILL_MODE 0"},
    {"tv_stream_set_property(TV_PROPERTY_VIDEO_STILL_MODE, TV_PROPERTY_VIDEO_SINK_MUTE, "
     "TV_PROPERTY_PVRSRC_MUTE) to FALSE",
     Role::NewStep, Kind::PlatformCall, "tv_stream_set_property VIDEO_STILL_MODE 0"},
    {"tv_stream_set_property(TV_PROPERTY_VIDEO_STILL_MODE, TV_PROPERTY_AUDIO_SINK_MUTE, "
     "TV_PROPERTY_VIDEO_SINK_MUTE, TV_PROPERTY_PVRSRC_MUTE) to FALSE",
     Role::NewStep, Kind::PlatformCall,
     "tv_stream_set_property VIDEO_STILL_MODE 0, AUDIO_SINK_MUTE 0"},

    // --- Events
    {"TIEventManager::Instance()->Send, event[{}], m_ullServiceID[{serviceId}], "
     "eventData.data.c0[{recordType}]",
     Role::NewStep, Kind::Event, "event 32769"},
    {"app_type[{type}] app_param[{param}], c0[{handle}] c1[{detail}] L1[{parameter}]",
     Role::NewStep, Kind::Event, kSysChange},
    {"eTvStreamAsmSoundCommand[{command}], c0[{handle}] c1[{detail}] L1[{parameter}]",
     Role::NewStep, Kind::Event, kSysChange},
    {"received event, handle [{handle}] event [{detail}]", Role::NewStep, Kind::Event, kSysChange},
    {"received event, event_group[{group}]", Role::NewStep, Kind::Event, kSysChange},
    {"SIGNAL_PVR_SYS_CHANGE[{}]", Role::Values, kOwn, ""},
    {"send event out successfully", Role::EventOutcome, kOwn, ""},
    {"send event out with mox-handle successfully", Role::EventOutcome, kOwn, ""},
    {"send event failed", Role::EventOutcome, kOwn, "", true},
    {"send event out failed", Role::EventOutcome, kOwn, "", true},
    {"send event out failure", Role::EventOutcome, kOwn, "", true},
    {"send event out with mox-handle failed", Role::EventOutcome, kOwn, "", true},
};

}  // namespace

MessageRange Messages() {
    return {std::begin(kMessages), std::end(kMessages)};
}

}  // namespace tool::log
