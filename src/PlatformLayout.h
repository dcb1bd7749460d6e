/// @file
/// Pins where the fields that the library reads lie in the platform's types, whosever header
/// declares them. Included by every file that reads one.
#ifndef MOXPVR_PLATFORMLAYOUT_H
#define MOXPVR_PLATFORMLAYOUT_H

#include <TVTypes.h>

#include <cstddef>

static_assert(sizeof(TSVideo) == 20 && offsetof(TSVideo, pid) == 10 &&
                  offsetof(TSVideo, codecType) == 12 && offsetof(TSVideo, pcrPid) == 16,
              "TSVideo is read by offset");
static_assert(sizeof(TSAudio) == 28 && offsetof(TSAudio, codecType) == 16 &&
                  offsetof(TSAudio, pid) == 20 && offsetof(TSAudio, multiSoundMode) == 24,
              "TSAudio is read by offset");
static_assert(sizeof(TvChannelInfo) >= 192 && offsetof(TvChannelInfo, programNum) == 6 &&
                  offsetof(TvChannelInfo, major) == 8 && offsetof(TvChannelInfo, minor) == 10 &&
                  offsetof(TvChannelInfo, audioPid) == 144 &&
                  offsetof(TvChannelInfo, audioCodecType) == 152 &&
                  offsetof(TvChannelInfo, multiSoundMode) == 156 &&
                  offsetof(TvChannelInfo, korean3d) == 168 &&
                  offsetof(TvChannelInfo, videoPid) == 172 &&
                  offsetof(TvChannelInfo, subVideoPid) == 174 &&
                  offsetof(TvChannelInfo, videoCodecType) == 176 &&
                  offsetof(TvChannelInfo, pcrPid) == 178 &&
                  offsetof(TvChannelInfo, pidDescrambled) == 184 &&
                  offsetof(TvChannelInfo, reserved) == 188,
              "channel information is read by offset");

#endif
