/// @file
/// What a recording says of a channel, and how a stream is programmed for it.
#ifndef MOXPVR_RECORDEDCHANNEL_H
#define MOXPVR_RECORDEDCHANNEL_H

#include <optional>

#include "PlatformLayout.h"

namespace mox {

/// The channel information at a time, copied straight after it was read: the platform may refresh
/// or free its record in any later call.
struct ChannelReading {
    ChannelReading(void *stream, int time);

    bool HasRecord() const { return result == 0 && record != nullptr; }

    TvChannelInfo *record = nullptr;  ///< the platform's own; its address only
    int result;
    TvChannelInfo info{};
};

/// @return whether a channel has sound and no picture
bool IsAudioOnly(const TvChannelInfo &info);

/// @return whether a channel was recorded from an analogue one
bool IsAnalogue(const TvChannelInfo &info);

/// @return a channel's video codec as the stream's property takes it
int ConvertedVideoCodec(const TvChannelInfo &info);

/// An audio stream's codec and sound mode as the stream's properties take them.
struct ConvertedAudio {
    explicit ConvertedAudio(const TSAudio &audio);
    explicit ConvertedAudio(const TvChannelInfo &info);

    int codec;
    int stereoMode;
};

/// Programs a channel's PIDs. @return the result of the call that carries the video PID
int ProgramPids(void *stream, const TvChannelInfo &info, bool isAudioOnly);

/// Programs converted codecs. @param videoCodec  nothing for sound only
/// @return the result of the last call
int ProgramCodecs(void *stream, int audioCodec, std::optional<int> videoCodec);

}  // namespace mox

#endif
