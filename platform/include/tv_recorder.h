/// @file
/// The TV's recorder library: one recorder object writes one sink.
///
/// Every function answers 0 on success and a non-zero code of the library otherwise. The recorder
/// belongs to whoever created it. Times are in the TV's own unit, milliseconds of stream time in
/// the desktop stand-in.
///
/// Threads: calls on one recorder come from one thread at a time; the callback runs on the
/// recorder's own thread.
#ifndef TVPLATFORM_TV_RECORDER_H
#define TVPLATFORM_TV_RECORDER_H

#include "TVTypes.h"

/// Property ids of tv_recorder_set_property, each with the C type of its value.
enum TvRecorderProperty : int {
    TV_RECORDER_PROPERTY_AUDIO_PID = 24,          ///< int: main audio PID
    TV_RECORDER_PROPERTY_VIDEO_PID = 25,          ///< int: video PID
    TV_RECORDER_PROPERTY_REMOVE_PID = 28,         ///< int: PID to stop recording
    TV_RECORDER_PROPERTY_PCR_PID = 29,            ///< int: PCR PID
    TV_RECORDER_PROPERTY_ANALOGUE_34 = 34,        ///< int: 0 in the analogue set-up
    TV_RECORDER_PROPERTY_AD_PID = 48,             ///< int: audio-description PID
    TV_RECORDER_PROPERTY_ADD_PID = 49,            ///< int: one more PID; repeatable in one list
    TV_RECORDER_PROPERTY_ANALOGUE_52 = 52,        ///< int: 0 in the analogue set-up
    TV_RECORDER_PROPERTY_IS_TIMESHIFT = 53,       ///< int: non-zero for a timeshift buffer
    TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD = 55,  ///< TvRecorderSwap *
    TV_RECORDER_PROPERTY_FILE_NAME = 56,          ///< const char *: path of the sink
    TV_RECORDER_PROPERTY_CHANNEL_INFO = 60,       ///< TvChannelInfo *
    TV_RECORDER_PROPERTY_IS_SEGMENT_RECORD = 61,  ///< int: segment flag
};

/// Turns a running timeshift buffer into a recording. Read during the call only.
struct TvRecorderSwap {
    char *fileName;           ///< 256-byte block, NUL-terminated
    int32_t isTimeshift;      ///< as the service sent it
    int32_t isSegmentRecord;  ///< as the service sent it
};

extern "C" {

/// What a recorder reports. Its messages are those of GStreamer
/// (https://gstreamer.freedesktop.org/documentation/gstreamer/gstmessage.html): an application
/// message with the integers `app_type` and `app_param` in its structure, or an error message with
/// debug text.
///
/// Arguments: TVCallbackType; `user_data` as registered; `param`, which is GstMessage *
/// (application, error) or TvStreamAsmSoundCommand *, by the type. It is valid for the duration of
/// the call and owned by the recorder.
using tv_recorder_callback = void (*)(TVCallbackType type, void *user_data, void *param);

/// Registers the one callback of a recorder; it stays until it is replaced or the recorder ends.
/// @param recorder   the object to drive
/// @param callback   runs on the recorder's thread
/// @param user_data  handed to it; outlives the registration
/// @return           0 on success
int tv_recorder_set_callback(void *recorder, tv_recorder_callback callback, void *user_data);

/// Starts to write the sink.
/// @param recorder  the object to drive
/// @return          0 on success
int tv_recorder_start(void *recorder);

/// Pauses the recording.
/// @param recorder  the object to drive
/// @return          0 on success
int tv_recorder_pause(void *recorder);

/// Continues a paused recording.
/// @param recorder  the object to drive
/// @return          0 on success
int tv_recorder_resume(void *recorder);

/// Ends the recording.
/// @param recorder  the object to drive
/// @return          0 on success
int tv_recorder_stop(void *recorder);

/// Readies the tuner and the demultiplexer ahead of tv_recorder_start.
/// @param recorder  the object to drive
/// @return          0 on success
int tv_recorder_set_playing_state_for_tuner_and_demuxer(void *recorder);

/// Applies (id, value) pairs in the order given; the list is closed by a 0 id. Integer values are
/// passed as `int`, the others as pointers: see @ref TvRecorderProperty.
/// @param recorder  the object to drive
/// @param id        first property, followed by its value and further pairs; what pointers lead to
///                  is copied before the call returns
/// @return          0 on success
int tv_recorder_set_property(void *recorder, int id, ...);

/// Asks how far the recording is.
/// @param recorder  the object to ask
/// @param position  out: stream time written
/// @param duration  out: stream time that the sink holds
/// @return          0 on success
int tv_recorder_get_position(void *recorder, long long *position, long long *duration);

/// Asks how much timeshift fits a disk.
/// @param recorder  the object to ask
/// @param hdd_size  disk size for which the duration is asked
/// @param duration  out: how much timeshift it holds
/// @return          0 on success
int tv_recorder_get_timeshift_duration(void *recorder, unsigned int hdd_size,
                                       unsigned int *duration);
}

#endif
