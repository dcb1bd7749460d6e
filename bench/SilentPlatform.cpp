// A TV platform whose functions answer 0 at once, so that what is measured is the library's own.
// What is not here is the stand-in's.
#include <dlog.h>
#include <tv_player.h>
#include <tv_recorder.h>
#include <tv_stream.h>

#define ANSWERS_0(...) \
    int __VA_ARGS__ {  \
        return 0;      \
    }

ANSWERS_0(__dlog_print(int, int, const char *, const char *, ...))

ANSWERS_0(tv_recorder_set_callback(void *, tv_recorder_callback, void *))
ANSWERS_0(tv_recorder_start(void *))
ANSWERS_0(tv_recorder_pause(void *))
ANSWERS_0(tv_recorder_resume(void *))
ANSWERS_0(tv_recorder_stop(void *))
ANSWERS_0(tv_recorder_set_playing_state_for_tuner_and_demuxer(void *))
ANSWERS_0(tv_recorder_set_property(void *, int, ...))
ANSWERS_0(tv_recorder_get_position(void *, long long *, long long *))
ANSWERS_0(tv_recorder_get_timeshift_duration(void *, unsigned int, unsigned int *))

ANSWERS_0(tv_player_ready(void *))
ANSWERS_0(tv_player_pause(void *))
ANSWERS_0(tv_player_resume(void *))
ANSWERS_0(tv_player_step_play(void *))
ANSWERS_0(tv_player_set_play_speed(void *, long long, double))
ANSWERS_0(tv_player_set_position(void *, long long, double))
ANSWERS_0(tv_player_get_position(void *, long long *, long long *))

ANSWERS_0(tv_stream_start(void *))
ANSWERS_0(tv_stream_stop(void *))
ANSWERS_0(tv_stream_set_property(void *, int, ...))
ANSWERS_0(tv_stream_is_audio_description_enabled(void *))
ANSWERS_0(tv_stream_set_kr3d_mode_format(void *, int, int))
ANSWERS_0(tv_stream_set_3d_mode(void *, int, int))

int tv_stream_get_channel_info(void * /*stream*/, int /*time*/, TvChannelInfo **info) {
    static TvChannelInfo channel{};
    *info = &channel;
    return 0;
}
