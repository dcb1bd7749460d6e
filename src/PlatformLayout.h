/// @file
/// Pins where the fields that the library reads lie in the platform's types, whosever header
/// declares them. Included by every file that reads one.
#ifndef MOXPVR_PLATFORMLAYOUT_H
#define MOXPVR_PLATFORMLAYOUT_H

#include <tv_recorder.h>
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

static_assert(sizeof(TSVideo::pid) == 2 && sizeof(TSVideo::codecType) == 4 &&
                  sizeof(TSVideo::pcrPid) == 2 && sizeof(TSAudio::codecType) == 4 &&
                  sizeof(TSAudio::pid) == 2 && sizeof(TSAudio::multiSoundMode) == 4,
              "streams have fields of these widths");
static_assert(sizeof(TvChannelInfo::programNum) == 2 && sizeof(TvChannelInfo::audioPid) == 4 &&
                  sizeof(TvChannelInfo::audioCodecType) == 4 &&
                  sizeof(TvChannelInfo::multiSoundMode) == 4 &&
                  sizeof(TvChannelInfo::korean3d) == 4 && sizeof(TvChannelInfo::videoPid) == 2 &&
                  sizeof(TvChannelInfo::subVideoPid) == 2 &&
                  sizeof(TvChannelInfo::videoCodecType) == 1 &&
                  sizeof(TvChannelInfo::pcrPid) == 2 &&
                  sizeof(TvChannelInfo::pidDescrambled) == 4 &&
                  sizeof(TvChannelInfo::reserved[1]) == 1,
              "channel information has fields of these widths");
static_assert(offsetof(TvRecorderSwap, fileName) == 0 &&
                  offsetof(TvRecorderSwap, isTimeshift) == sizeof(char *) &&
                  offsetof(TvRecorderSwap, isSegmentRecord) == sizeof(char *) + 4 &&
                  sizeof(TvRecorderSwap::isTimeshift) == 4 &&
                  sizeof(TvRecorderSwap::isSegmentRecord) == 4,
              "a swap is handed over by offset");
static_assert(offsetof(TvStreamAsmSoundCommand, command) == 0 &&
                  sizeof(TvStreamAsmSoundCommand::command) == 4,
              "a sound command is read by offset");

#endif
