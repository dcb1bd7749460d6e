/// @file
/// The TV's stream library: the source and the decoders of one playback.
///
/// Every function answers 0 on success and a non-zero code of the library otherwise, unless it says
/// so. The stream belongs to whoever created it.
#ifndef TVPLATFORM_TV_STREAM_H
#define TVPLATFORM_TV_STREAM_H

#include "TVTypes.h"

/// Property ids of tv_stream_set_property, each with the C type of its value.
enum TvStreamProperty : int {
    TV_PROPERTY_AUDIO_PID = 103,                       ///< int
    TV_PROPERTY_VIDEO_PID = 104,                       ///< int
    TV_PROPERTY_PCR_PID = 109,                         ///< int
    TV_PROPERTY_AD_PID = 134,                          ///< int; 0xFFFF clears it
    TV_PROPERTY_PLAYBACK_HOLD = 302,                   ///< int: lifted to 0 on unmute
    TV_PROPERTY_HAS_VIDEO = 307,                       ///< int: 1 with video, 0 audio only
    TV_PROPERTY_AUDIO_CODEC_TYPE = 314,                ///< int
    TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE = 320,  ///< int
    TV_PROPERTY_AUDIO_SINK_MUTE = 406,                 ///< int: 1 mutes
    TV_PROPERTY_VIDEO_CODEC_TYPE = 509,                ///< int
    TV_PROPERTY_VIDEO_SINK_MUTE = 602,                 ///< int: 1 mutes
    TV_PROPERTY_VIDEO_STILL_MODE = 603,                ///< int: 1 holds the picture
    TV_PROPERTY_PVRSRC_URI = 801,                      ///< const char *: path of the recording
    TV_PROPERTY_PVRSRC_IS_TIMESHIFT = 805,             ///< int: non-zero for a timeshift buffer
    TV_PROPERTY_PVRSRC_START_POSITION = 806,           ///< int: milliseconds
    TV_PROPERTY_PVRSRC_MUTE = 807,                     ///< int: 1 mutes the source
    TV_PROPERTY_AD_CODEC_TYPE = 1214,                  ///< int; -1 clears it
    TV_PROPERTY_RECORD_DURATION = 1413,                ///< int: set on the recorder object
};

extern "C" {

int tv_stream_start(void *stream);
int tv_stream_stop(void *stream);

/// Applies (id, value) pairs in the order given; the list is closed by a 0 id. Integer values are
/// passed as `int`, the others as pointers: see @ref TvStreamProperty.
int tv_stream_set_property(void *stream, int id, ...);

/// @param time  milliseconds of stream time
/// @param info  out: the record that applies then; owned by the stream, never freed by the caller.
///              It stays valid and unchanged until the next call on the stream, whatever it is:
///              callers copy the fields that they need straight away
int tv_stream_get_channel_info(void *stream, int time, TvChannelInfo **info);

/// @return non-zero when audio description is on
int tv_stream_is_audio_description_enabled(void *stream);
int tv_stream_enable_audio_description(void *stream, unsigned int pid);
int tv_stream_disable_audio_description(void *stream);

/// Korean 3D: mode 1 switches it on, 0 with format -1 off.
int tv_stream_set_kr3d_mode_format(void *stream, int mode, int format);
int tv_stream_set_3d_mode(void *stream, int mode, int sub_video_pid);
}

#endif
