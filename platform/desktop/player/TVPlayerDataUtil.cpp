#include <TVPlayerDataUtil.h>

namespace {

// The stand-in's decoders are told their codec by the stream_type under which a PMT lists it
// (ISO/IEC 13818-1, table 2-34; AC-3 and E-AC-3: ATSC A/53 part 3). The reserved type 0, which also
// answers a codec that is not known, leaves it to the decoder to find out.
struct Conversion {
    unsigned from;
    int to;
};

constexpr Conversion kVideoCodecs[] = {
    {VIDEO_ENCODE_MPEG1, 0x01}, {VIDEO_ENCODE_MPEG2, 0x02}, {VIDEO_ENCODE_MPEG4, 0x10},
    {VIDEO_ENCODE_H264, 0x1B},  {VIDEO_ENCODE_HEVC, 0x24},
};

constexpr Conversion kAudioCodecs[] = {
    {AUDIO_ENCODE_MPEG1, 0x03}, {AUDIO_ENCODE_MPEG2, 0x04}, {AUDIO_ENCODE_AAC, 0x0F},
    {AUDIO_ENCODE_HEAAC, 0x11}, {AUDIO_ENCODE_AC3, 0x81},   {AUDIO_ENCODE_EAC3, 0x87},
};

// What the audio decoder puts out: 0 both channels as they were coded (also for a mode that is not
// known), 1 the left one only, 2 the right one only, 3 both mixed.
constexpr Conversion kSoundModes[] = {
    {MULTI_SOUND_MONO, 0},       {MULTI_SOUND_STEREO, 0},   {MULTI_SOUND_DUAL_LEFT, 1},
    {MULTI_SOUND_DUAL_RIGHT, 2}, {MULTI_SOUND_DUAL_MIX, 3},
};

template <typename Table>
int Convert(const Table &table, unsigned from) {
    for (const Conversion &conversion : table) {
        if (conversion.from == from)
            return conversion.to;
    }
    return 0;
}

}  // namespace

int TVPlayerDataUtil::ConvertVideoEncodeType(EVideoEncodeType type) {
    return Convert(kVideoCodecs, type);
}

int TVPlayerDataUtil::ConvertAudioEncodeType(EAudioEncodeType type) {
    return Convert(kAudioCodecs, type);
}

int TVPlayerDataUtil::ConvertDigitalMTSModeType(EMultiSoundMode mode) {
    return Convert(kSoundModes, mode);
}
