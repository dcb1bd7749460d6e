#include "MoxPvrPlayback/RecordedChannel.h"

#include <tv_stream.h>
#include <TVPlayerDataUtil.h>

#include "MoxPvrProtocol.h"

namespace mox {

ChannelReading::ChannelReading(void *stream, int time)
    : result(tv_stream_get_channel_info(stream, time, &record)) {
    if (HasRecord())
        info = *record;
}

bool IsAudioOnly(const TvChannelInfo &info) {
    return (info.videoPid == 0 || info.videoPid == moxpvr::kNoPid16) && info.audioPid > 0;
}

bool IsAnalogue(const TvChannelInfo &info) {
    return info.videoPid == moxpvr::kAnalogueVideoPid && info.audioPid == moxpvr::kAnalogueAudioPid;
}

int ConvertedVideoCodec(const TvChannelInfo &info) {
    return TVPlayerDataUtil::ConvertVideoEncodeType(
        static_cast<EVideoEncodeType>(info.videoCodecType));
}

ConvertedAudio::ConvertedAudio(const TSAudio &audio)
    : codec(TVPlayerDataUtil::ConvertAudioEncodeType(audio.codecType)),
      stereoMode(TVPlayerDataUtil::ConvertDigitalMTSModeType(audio.multiSoundMode)) {}

ConvertedAudio::ConvertedAudio(const TvChannelInfo &info)
    : codec(TVPlayerDataUtil::ConvertAudioEncodeType(info.audioCodecType)),
      stereoMode(TVPlayerDataUtil::ConvertDigitalMTSModeType(info.multiSoundMode)) {}

int ProgramPids(void *stream, const TvChannelInfo &info, bool isAudioOnly) {
    const int pcrPid = info.pcrPid;
    const int videoPid = info.videoPid;
    const int audioPid = info.audioPid;
    if (isAudioOnly)
        return tv_stream_set_property(stream, TV_PROPERTY_PCR_PID, pcrPid, TV_PROPERTY_VIDEO_PID,
                                      videoPid, TV_PROPERTY_AUDIO_PID, audioPid,
                                      TV_PROPERTY_HAS_VIDEO, 0, 0);
    const int result = tv_stream_set_property(stream, TV_PROPERTY_PCR_PID, pcrPid,
                                              TV_PROPERTY_VIDEO_PID, videoPid, 0);
    tv_stream_set_property(stream, TV_PROPERTY_AUDIO_PID, audioPid, TV_PROPERTY_HAS_VIDEO, 1, 0);
    return result;
}

int ProgramCodecs(void *stream, int audioCodec, std::optional<int> videoCodec) {
    const int result = tv_stream_set_property(stream, TV_PROPERTY_AUDIO_CODEC_TYPE, audioCodec, 0);
    return videoCodec ? tv_stream_set_property(stream, TV_PROPERTY_VIDEO_CODEC_TYPE, *videoCodec, 0)
                      : result;
}

}  // namespace mox
