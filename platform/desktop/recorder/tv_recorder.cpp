#include <tv_recorder.h>

#include <cstdarg>

#include "recorder/Recorder.h"

using tvdesktop::CallOn;
using tvdesktop::Recorder;

int tv_recorder_set_callback(void *recorder, tv_recorder_callback callback, void *user_data) {
    return CallOn<Recorder>(recorder, &Recorder::SetCallback, callback, user_data);
}

int tv_recorder_start(void *recorder) {
    return CallOn<Recorder>(recorder, &Recorder::Start);
}

int tv_recorder_pause(void *recorder) {
    return CallOn<Recorder>(recorder, &Recorder::Pause);
}

int tv_recorder_resume(void *recorder) {
    return CallOn<Recorder>(recorder, &Recorder::Resume);
}

int tv_recorder_stop(void *recorder) {
    return CallOn<Recorder>(recorder, &Recorder::Stop);
}

int tv_recorder_set_playing_state_for_tuner_and_demuxer(void *recorder) {
    return CallOn<Recorder>(recorder, &Recorder::Prepare);
}

int tv_recorder_set_property(void *recorder, int id, ...) {
    std::va_list values;
    va_start(values, id);
    tvdesktop::PropertyArguments arguments(id, values);
    va_end(values);
    return CallOn<Recorder>(recorder, [&arguments](Recorder &target) {
        tvdesktop::RecorderPropertyList list;
        return tvdesktop::ReadRecorderProperties(arguments, list) ? target.Apply(list)
                                                                  : tvdesktop::kRecorderBadProperty;
    });
}

int tv_recorder_get_position(void *recorder, long long *position, long long *duration) {
    return CallOn<Recorder>(recorder, &Recorder::GetPosition, position, duration);
}

int tv_recorder_get_timeshift_duration(void *recorder, unsigned int hdd_size,
                                       unsigned int *duration) {
    return CallOn<Recorder>(recorder, &Recorder::GetTimeshiftDuration, hdd_size, duration);
}
