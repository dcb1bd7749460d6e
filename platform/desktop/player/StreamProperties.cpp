#include "player/StreamProperties.h"

#include <tv_stream.h>

#include <type_traits>

namespace tvdesktop {

namespace {

template <typename Value>
Value &MemberOf(StreamSettings &settings, Value PlayerState::*member) {
    return settings.state.*member;
}

template <typename Value>
Value &MemberOf(StreamSettings &settings, Value PlaybackSource::*member) {
    return settings.source.*member;
}

template <auto member>
bool Keep(StreamSettings &settings, int /*id*/, int value) {
    auto &kept = MemberOf(settings, member);
    kept = static_cast<std::remove_reference_t<decltype(kept)>>(value);
    return true;
}

bool SetSource(StreamSettings &settings, int /*id*/, const char *path) {
    settings.source.path = path;
    settings.isNewSource = true;
    return true;
}

const PropertyRule<StreamSettings> kRules[] = {
    {TV_PROPERTY_AUDIO_PID, Keep<&PlayerState::audioPid>},
    {TV_PROPERTY_VIDEO_PID, Keep<&PlayerState::videoPid>},
    {TV_PROPERTY_PCR_PID, Keep<&PlayerState::pcrPid>},
    {TV_PROPERTY_AD_PID, Keep<&PlayerState::adPid>},
    {TV_PROPERTY_PLAYBACK_HOLD, Keep<&PlayerState::held>},
    {TV_PROPERTY_HAS_VIDEO, Keep<&PlayerState::hasVideo>},
    {TV_PROPERTY_AUDIO_CODEC_TYPE, Keep<&PlayerState::audioCodec>},
    {TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE, Keep<&PlayerState::stereoMode>},
    {TV_PROPERTY_AUDIO_SINK_MUTE, Keep<&PlayerState::audioMuted>},
    {TV_PROPERTY_VIDEO_CODEC_TYPE, Keep<&PlayerState::videoCodec>},
    {TV_PROPERTY_VIDEO_SINK_MUTE, Keep<&PlayerState::videoMuted>},
    {TV_PROPERTY_VIDEO_STILL_MODE, Keep<&PlayerState::still>},
    {TV_PROPERTY_PVRSRC_URI, SetSource},
    {TV_PROPERTY_PVRSRC_IS_TIMESHIFT, Keep<&PlaybackSource::isTimeshift>},
    {TV_PROPERTY_PVRSRC_START_POSITION, Keep<&PlaybackSource::startMs>},
    {TV_PROPERTY_PVRSRC_MUTE, Keep<&PlayerState::sourceMuted>},
    {TV_PROPERTY_AD_CODEC_TYPE, Keep<&PlayerState::adCodec>},
};

}  // namespace

bool ReadStreamProperties(PropertyArguments &arguments, StreamSettings &settings) {
    constexpr std::size_t kMostPairs = 64;
    return arguments.ReadInto(settings, kRules, kMostPairs);
}

}  // namespace tvdesktop
