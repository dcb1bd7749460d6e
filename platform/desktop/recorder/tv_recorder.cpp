/// The C functions of the recorder library: pointers and variable argument lists are checked here.
#include <tv_recorder.h>

#include <cstdarg>

#include "Recorder.h"

namespace {

using tvdesktop::Recorder;
using tvdesktop::RecorderPropertyList;

/// Runs a call on the recorder behind a pointer; no exception gets out.
template <typename Call>
int OnRecorder(void *pointer, Call &&call) {
    auto *recorder = tvdesktop::ObjectAs<Recorder>(pointer);
    if (recorder == nullptr)
        return tvdesktop::kRecorderNoRecorder;
    try {
        return call(*recorder);
    } catch (...) {
        return tvdesktop::kRecorderOutOfResources;
    }
}

/// Reads the value of one property: its type is known by the id alone.
/// @return false for an unknown id, whose value could not even be skipped, and for a bad value
bool ReadProperty(int id, va_list *values, RecorderPropertyList &list) {
    using tvdesktop::StreamSelection;
    if (StreamSelection::IsPidProperty(id)) {
        const StreamSelection::PidProperty property{id, va_arg(*values, int)};
        list.pids.push_back(property);
        return StreamSelection::IsValid(property);
    }
    switch (id) {
        case TV_RECORDER_PROPERTY_ANALOGUE_34:
        case TV_RECORDER_PROPERTY_ANALOGUE_52:
        case TV_RECORDER_PROPERTY_IS_SEGMENT_RECORD:
            static_cast<void>(va_arg(*values, int));
            return true;
        case TV_RECORDER_PROPERTY_IS_TIMESHIFT:
            list.isTimeshift = va_arg(*values, int) != 0;
            return true;
        case TV_RECORDER_PROPERTY_FILE_NAME: {
            const char *name = va_arg(*values, const char *);
            list.fileName = name != nullptr ? name : "";
            return name != nullptr;
        }
        case TV_RECORDER_PROPERTY_CHANNEL_INFO: {
            const auto *info = va_arg(*values, const TvChannelInfo *);
            if (info != nullptr)
                list.channels.push_back(*info);
            return info != nullptr;
        }
        case TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD: {
            const auto *swap = va_arg(*values, const TvRecorderSwap *);
            const bool hasName =
                swap != nullptr && swap->fileName != nullptr && *swap->fileName != '\0';
            list.swapTo = hasName ? swap->fileName : "";
            return hasName;
        }
        default:
            return false;
    }
}

}  // namespace

int tv_recorder_set_callback(void *recorder, tv_recorder_callback callback, void *user_data) {
    return OnRecorder(recorder,
                      [=](Recorder &target) { return target.SetCallback(callback, user_data); });
}

int tv_recorder_start(void *recorder) {
    return OnRecorder(recorder, [](Recorder &target) { return target.Start(); });
}

int tv_recorder_pause(void *recorder) {
    return OnRecorder(recorder, [](Recorder &target) { return target.Pause(); });
}

int tv_recorder_resume(void *recorder) {
    return OnRecorder(recorder, [](Recorder &target) { return target.Resume(); });
}

int tv_recorder_stop(void *recorder) {
    return OnRecorder(recorder, [](Recorder &target) { return target.Stop(); });
}

int tv_recorder_set_playing_state_for_tuner_and_demuxer(void *recorder) {
    return OnRecorder(recorder, [](Recorder &target) { return target.Prepare(); });
}

int tv_recorder_set_property(void *recorder, int id, ...) {
    va_list values;
    va_start(values, id);
    const int result = OnRecorder(recorder, [&](Recorder &target) {
        RecorderPropertyList list;
        for (; id != 0; id = va_arg(values, int)) {
            if (!ReadProperty(id, &values, list))
                return tvdesktop::kRecorderBadProperty;
        }
        return target.Apply(list);
    });
    va_end(values);
    return result;
}

int tv_recorder_get_position(void *recorder, long long *position, long long *duration) {
    return OnRecorder(recorder, [=](Recorder &target) {
        if (position == nullptr || duration == nullptr)
            return tvdesktop::kRecorderBadProperty;
        target.GetPosition(*position, *duration);
        return tvdesktop::kRecorderOk;
    });
}

int tv_recorder_get_timeshift_duration(void *recorder, unsigned int hdd_size,
                                       unsigned int *duration) {
    return OnRecorder(recorder, [=](Recorder &target) {
        return duration != nullptr ? target.GetTimeshiftDuration(hdd_size, *duration)
                                   : tvdesktop::kRecorderBadProperty;
    });
}

namespace tvdesktop {

void *CreateRecorder(const RecorderOptions &options) {
    try {
        return static_cast<PlatformObject *>(new Recorder(options));
    } catch (...) {
        return nullptr;
    }
}

void DestroyRecorder(void *recorder) {
    const auto *target = ObjectAs<Recorder>(recorder);
    if (target != nullptr && !target->IsOnThread())
        delete target;
}

std::string RecorderFailure(void *recorder) {
    const auto *target = ObjectAs<Recorder>(recorder);
    return target != nullptr ? target->Failure() : "";
}

RecordingReport GetRecordingReport(void *recorder) {
    const auto *target = ObjectAs<Recorder>(recorder);
    return target != nullptr ? target->GetReport() : RecordingReport{};
}

bool SetRecordDuration(PlatformObject *object, int milliseconds) {
    return OnRecorder(object, [milliseconds](Recorder &target) {
               return target.SetDuration(milliseconds);
           }) == kRecorderOk;
}

}  // namespace tvdesktop
