#include <tv_stream.h>

#include <cstdarg>

#include "player/Player.h"
#include "recorder/Recorder.h"

using tvdesktop::Control;
using tvdesktop::PlaybackEngine;
using tvdesktop::PlayerOfStream;

namespace {

/// The one property that callers set on a recorder through the stream library, alone in its list.
int SetRecorderProperty(tvdesktop::PlatformObject *recorder, int id, std::va_list values) {
    if (id != TV_PROPERTY_RECORD_DURATION)
        return tvdesktop::kPlayerUnknownProperty;
    const int duration = va_arg(values, int);
    if (va_arg(values, int) != 0)
        return tvdesktop::kPlayerUnknownProperty;
    return tvdesktop::SetRecordDuration(recorder, duration) ? tvdesktop::kPlayerOk
                                                            : tvdesktop::kPlayerBadArgument;
}

int SetProperties(void *object, int id, std::va_list values) {
    if (auto *recorder = tvdesktop::ObjectOf(object, tvdesktop::ObjectKind::Recorder))
        return SetRecorderProperty(recorder, id, values);
    return Control(PlayerOfStream(object), [&](PlaybackEngine &engine) {
        const auto list = tvdesktop::ReadStreamProperties(id, values);
        return list ? engine.SetProperties(*list) : tvdesktop::kPlayerUnknownProperty;
    });
}

}  // namespace

int tv_stream_start(void *stream) {
    return Control(PlayerOfStream(stream), [](PlaybackEngine &engine) { return engine.Start(); });
}

int tv_stream_stop(void *stream) {
    return Control(PlayerOfStream(stream), [](PlaybackEngine &engine) { return engine.Stop(); });
}

int tv_stream_set_property(void *stream, int id, ...) {
    std::va_list values;
    va_start(values, id);
    const int result = SetProperties(stream, id, values);
    va_end(values);
    return result;
}

int tv_stream_get_channel_info(void *stream, int time, TvChannelInfo **info) {
    return Control(PlayerOfStream(stream),
                   [=](PlaybackEngine &engine) { return engine.ChannelInfoAt(time, info); });
}

int tv_stream_is_audio_description_enabled(void *stream) {
    tvdesktop::Player *player = PlayerOfStream(stream);
    return player != nullptr && player->engine().State().adEnabled ? 1 : 0;
}

int tv_stream_enable_audio_description(void *stream, unsigned int pid) {
    return Control(PlayerOfStream(stream), [=](PlaybackEngine &engine) {
        return engine.SetAudioDescription(true, static_cast<int>(pid));
    });
}

int tv_stream_disable_audio_description(void *stream) {
    return Control(PlayerOfStream(stream),
                   [](PlaybackEngine &engine) { return engine.SetAudioDescription(false, 0); });
}

int tv_stream_set_kr3d_mode_format(void *stream, int mode, int format) {
    return Control(PlayerOfStream(stream),
                   [=](PlaybackEngine &engine) { return engine.Set3dFormat(mode, format); });
}

int tv_stream_set_3d_mode(void *stream, int mode, int sub_video_pid) {
    return Control(PlayerOfStream(stream),
                   [=](PlaybackEngine &engine) { return engine.Set3dMode(mode, sub_video_pid); });
}
