/// @file
/// The TV's stream library: the source and the decoders of one playback.
///
/// Every function answers 0 on success and a non-zero code of the library otherwise, unless it says
/// so. The stream belongs to whoever created it. Threads: as tv_player.h.
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
    TV_PROPERTY_PVRSRC_START_POSITION = 806,           ///< int: in the player's unit
    TV_PROPERTY_PVRSRC_MUTE = 807,                     ///< int: 1 mutes the source
    TV_PROPERTY_AD_CODEC_TYPE = 1214,                  ///< int; -1 clears it
    TV_PROPERTY_RECORD_DURATION = 1413,                ///< int: set on the recorder object
};

extern "C" {

/// Starts the source and the decoders.
/// @param stream  the object to drive
/// @return        0 on success
int tv_stream_start(void *stream);

/// Stops the source and the decoders.
/// @param stream  the object to drive
/// @return        0 on success
int tv_stream_stop(void *stream);

/// Applies (id, value) pairs in the order given; the list is closed by a 0 id. Integer values are
/// passed as `int`, the others as pointers: see @ref TvStreamProperty.
/// @param stream  the object to drive; a recorder for TV_PROPERTY_RECORD_DURATION
/// @param id      first property, followed by its value and further pairs; what pointers lead to is
///                copied before the call returns
/// @return        0 on success
int tv_stream_set_property(void *stream, int id, ...);

/// Finds the channel information that applies at a time.
/// @param stream  the object to ask
/// @param time    position in the source, in the player's unit
/// @param info    out: the record that applies then, owned by the stream and never freed by the
///                caller. It stays valid and unchanged until the next call on the stream, whatever
///                it is: callers copy the fields that they need straight away
/// @return        0 on success; a failure is any number but -1, which callers take for
///                "same channel"
int tv_stream_get_channel_info(void *stream, int time, TvChannelInfo **info);

/// Asks whether audio description is on.
/// @param stream  the object to ask
/// @return        non-zero when it is
int tv_stream_is_audio_description_enabled(void *stream);

/// Switches audio description on.
/// @param stream  the object to drive
/// @param pid     of the audio description; its codec follows as property 1214
/// @return        0 on success
int tv_stream_enable_audio_description(void *stream, unsigned int pid);

/// Switches audio description off.
/// @param stream  the object to drive
/// @return        0 on success
int tv_stream_disable_audio_description(void *stream);

/// Korean 3D, a second video stream for the other eye.
/// @param stream  the object to drive
/// @param mode    1 on, 0 off
/// @param format  6 with mode 1, -1 with mode 0
/// @return        0 on success
int tv_stream_set_kr3d_mode_format(void *stream, int mode, int format);

/// Shows the second video stream of Korean 3D.
/// @param stream         the object to drive
/// @param mode           1 on
/// @param sub_video_pid  the second video stream
/// @return               0 on success
int tv_stream_set_3d_mode(void *stream, int mode, int sub_video_pid);
}

#endif
