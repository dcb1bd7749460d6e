/// @file
/// Plain types that the TV's media libraries share with their users.
///
/// Only the documented fields have a meaning here; everything between them belongs to the media
/// libraries and is passed on unread. The offsets are part of the binary interface; the library
/// checks them when it is built, also against a TV's own header of this name.
#ifndef TVPLATFORM_TVTYPES_H
#define TVPLATFORM_TVTYPES_H

#include <cstdint>

/// What a media callback reports.
enum TVCallbackType : int {
    TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE = 16,  ///< the video decoder shows its first picture
    TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK = 23,  ///< the audio decoder knows its stream
    TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION = 30,    ///< application event of a playback
    TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR = 31,          ///< error of a playback
    TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION = 32,  ///< param: GstMessage of type application
    TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR = 33,        ///< param: GstMessage of type error
    TV_PLAYER_CALLBACK_ASM_COMMAND = 34,               ///< param: TvStreamAsmSoundCommand
};

/// Video codec of a broadcast stream, as channel information carries it. The values are the
/// platform's; the library passes them through and converts them with TVPlayerDataUtil.
enum EVideoEncodeType : uint32_t {
    VIDEO_ENCODE_UNKNOWN = 0,
    VIDEO_ENCODE_MPEG1 = 1,
    VIDEO_ENCODE_MPEG2 = 2,
    VIDEO_ENCODE_MPEG4 = 3,
    VIDEO_ENCODE_H264 = 4,
    VIDEO_ENCODE_HEVC = 5,
};

/// Audio codec of a broadcast stream, as channel information carries it.
enum EAudioEncodeType : uint32_t {
    AUDIO_ENCODE_UNKNOWN = 0,
    AUDIO_ENCODE_MPEG1 = 1,
    AUDIO_ENCODE_MPEG2 = 2,
    AUDIO_ENCODE_AAC = 3,
    AUDIO_ENCODE_HEAAC = 4,
    AUDIO_ENCODE_AC3 = 5,
    AUDIO_ENCODE_EAC3 = 6,
};

/// Multi-sound mode of a stream.
enum EMultiSoundMode : uint32_t {
    MULTI_SOUND_MONO = 0,
    MULTI_SOUND_STEREO = 1,
    MULTI_SOUND_DUAL_LEFT = 2,
    MULTI_SOUND_DUAL_RIGHT = 3,
    MULTI_SOUND_DUAL_MIX = 4,
};

/// Who chose an audio stream.
enum EAudioSelectionType : uint32_t {
    AUDIO_SELECTION_AUTO = 0,
    AUDIO_SELECTION_USER = 1,
};

/// Sound command of the TV's audio session manager (ASM); only the command is read.
struct TvStreamAsmSoundCommand {
    int32_t command;  ///< 2 is reported to the service
};

/// A video stream of a service.
struct TSVideo {
    uint8_t reserved0[10];       ///< the media libraries'
    uint16_t pid;                ///< video PID
    EVideoEncodeType codecType;  ///< at offset 12
    uint16_t pcrPid;             ///< PCR_PID of the PMT (ISO/IEC 13818-1, 2.4.4.9)
    uint16_t reserved1;          ///< the media libraries'
};

/// An audio stream of a service, audio description included.
struct TSAudio {
    uint8_t reserved0[16];           ///< the media libraries'
    EAudioEncodeType codecType;      ///< at offset 16
    uint16_t pid;                    ///< audio PID
    uint16_t reserved1;              ///< the media libraries'
    EMultiSoundMode multiSoundMode;  ///< at offset 24
};

/// Channel information: the streams of one channel at one time of a stream or a recording.
/// Multi-byte fields are in the machine's (little-endian) order.
struct TvChannelInfo {
    uint8_t reserved0[6];     ///< the media libraries', as every reserved field but the last
    uint16_t programNum;      ///< program_number (ISO/IEC 13818-1, 2.4.4.5)
    uint16_t major;           ///< channel number
    uint16_t minor;           ///< its second part, where it has one
    uint8_t reserved12[132];  ///< from offset 12
    int32_t audioPid;         ///< without video, above 0 means audio only
    uint8_t reserved148[4];   ///< from offset 148
    EAudioEncodeType audioCodecType;  ///< of the audio PID
    EMultiSoundMode multiSoundMode;   ///< of the audio PID
    uint8_t reserved160[8];           ///< from offset 160
    int32_t korean3d;                 ///< 1: a 3D service with a second video stream
    uint16_t videoPid;                ///< 0 or 0xFFFF: no video
    uint16_t subVideoPid;             ///< second video stream of a 3D service
    uint8_t videoCodecType;           ///< EVideoEncodeType in one byte
    uint8_t reserved177;              ///< at offset 177
    uint16_t pcrPid;                  ///< PCR_PID of the PMT (ISO/IEC 13818-1, 2.4.4.9)
    uint8_t reserved180[4];           ///< from offset 180
    int32_t pidDescrambled;           ///< non-zero: the sender reports descrambled PIDs
    uint8_t reserved[4];              ///< [1] non-zero: only one audio PID is descrambled
};

#endif
