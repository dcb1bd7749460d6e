#include <tv_stream.h>

#include <cstdarg>

#include "player/Player.h"

using tvdesktop::Control;
using tvdesktop::PlatformObject;
using tvdesktop::PlaybackEngine;
using tvdesktop::PlayerOfStream;

namespace {

/// The one property that callers set on a recorder through the stream library, alone in its list.
int SetOnRecorder(PlatformObject *recorder, const tvdesktop::StreamPropertyList &list) {
    if (list.size() != 1 || list.front().id != TV_PROPERTY_RECORD_DURATION)
        return tvdesktop::kPlayerUnknownProperty;
    const int duration = std::get<int>(list.front().value);
    return tvdesktop::SetRecordDuration(recorder, duration) ? tvdesktop::kPlayerOk
                                                            : tvdesktop::kPlayerNoObject;
}

int SetOnStream(void *stream, const tvdesktop::StreamPropertyList &list) {
    return Control(PlayerOfStream(stream), [&](PlaybackEngine &engine) {
        return tvdesktop::Sets(list, TV_PROPERTY_RECORD_DURATION)
                   ? tvdesktop::kPlayerUnknownProperty
                   : engine.SetProperties(list);
    });
}

int SetProperties(void *object, int id, std::va_list values) noexcept try {
    auto *header = static_cast<PlatformObject *>(object);
    if (header == nullptr)
        return tvdesktop::kPlayerNoObject;
    const auto list = tvdesktop::ReadStreamProperties(id, values);
    if (!list)
        return tvdesktop::kPlayerUnknownProperty;
    return header->kind == PlatformObject::Kind::Recorder ? SetOnRecorder(header, *list)
                                                          : SetOnStream(object, *list);
} catch (...) {
    return tvdesktop::kPlayerOutOfMemory;
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
