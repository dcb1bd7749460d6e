#include <tv_stream.h>

#include <cstdarg>
#include <optional>

#include "player/Player.h"
#include "recorder/Recorder.h"

using tvdesktop::CallOn;
using tvdesktop::Control;
using tvdesktop::KindOf;
using tvdesktop::PlatformObject;
using tvdesktop::PlaybackEngine;
using tvdesktop::PropertyArguments;
using tvdesktop::Recorder;
using tvdesktop::Stream;

namespace {

using Duration = std::optional<int>;

/// @return false for a second one in the same list
bool SetDuration(Duration &duration, int /*id*/, int milliseconds) {
    const bool isFirst = !duration;
    duration = milliseconds;
    return isFirst;
}

/// The one property that callers set on a recorder through the stream library, alone in its list.
int SetOnRecorder(void *recorder, PropertyArguments &arguments) {
    constexpr tvdesktop::PropertyRule<Duration> kRules[] = {
        {TV_PROPERTY_RECORD_DURATION, SetDuration}};
    Duration duration;
    if (!arguments.ReadInto(duration, kRules) || !duration)
        return tvdesktop::kPlayerBadProperty;
    return CallOn<Recorder>(recorder, &Recorder::SetDuration, *duration);
}

}  // namespace

int tv_stream_start(void *stream) {
    return Control<Stream>(stream, &PlaybackEngine::Start);
}

int tv_stream_stop(void *stream) {
    return Control<Stream>(stream, &PlaybackEngine::Stop);
}

int tv_stream_set_property(void *stream, int id, ...) {
    std::va_list values;
    va_start(values, id);
    PropertyArguments arguments(id, values);
    va_end(values);
    return KindOf(stream) == PlatformObject::Kind::Recorder
               ? SetOnRecorder(stream, arguments)
               : Control<Stream>(stream, &PlaybackEngine::SetProperties, &arguments);
}

int tv_stream_get_channel_info(void *stream, int time, TvChannelInfo **info) {
    return Control<Stream>(stream, &PlaybackEngine::ChannelInfoAt, time, info);
}

int tv_stream_is_audio_description_enabled(void *stream) {
    auto *target = tvdesktop::ObjectAs<Stream>(stream);
    return target != nullptr && target->player.Engine().State().adEnabled ? 1 : 0;
}

int tv_stream_enable_audio_description(void *stream, unsigned int pid) {
    return Control<Stream>(stream, &PlaybackEngine::SetAudioDescription, true,
                           static_cast<int>(pid));
}

int tv_stream_disable_audio_description(void *stream) {
    return Control<Stream>(stream, &PlaybackEngine::SetAudioDescription, false, 0);
}

int tv_stream_set_kr3d_mode_format(void *stream, int mode, int format) {
    return Control<Stream>(stream, &PlaybackEngine::Set3dFormat, mode, format);
}

int tv_stream_set_3d_mode(void *stream, int mode, int sub_video_pid) {
    return Control<Stream>(stream, &PlaybackEngine::Set3dMode, mode, sub_video_pid);
}
