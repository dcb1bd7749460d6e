/// @file
/// The events of the library in words.
#ifndef TOOLS_EVENTS_H
#define TOOLS_EVENTS_H

#include <TvDesktop.h>

#include <cstdint>
#include <string>

namespace tool {

inline constexpr int kSysChange = 31;
inline constexpr int kRecorderStarted = 32769;

/// Detail codes of SIGNAL_PVR_SYS_CHANGE (byte 1 of the record).
enum Detail : int {
    kEndReached = 1,
    kBeginningReached = 2,
    kUnmuted = 3,
    kPlaybackError1 = 51,
    kPlaybackError3 = 52,
    kRecordingBegan = 101,
    kRecordingEnded = 102,
    kSourceFailed = 151,
    kSinkFailed = 152,
    kDiskFull = 153,
    kSoundCommand = 154,
};

bool IsDetail(const tvdesktop::Event &event, Detail detail);

/// Handle number, or the record type of SIGNAL_PVR_RECORDER_STARTED.
int FirstByte(const tvdesktop::Event &event);
/// Service id of SIGNAL_PVR_RECORDER_STARTED.
std::uint64_t StartedServiceId(const tvdesktop::Event &event);

/// @return the sentence for an event that ends a recording or a playback badly, empty for others
std::string FailureText(const tvdesktop::Event &event);

/// @return number, name and contents of an event for a reader
std::string EventText(const tvdesktop::Event &event);

}  // namespace tool

#endif
