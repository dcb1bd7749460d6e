/// @file
/// The events of the library in words.
#ifndef TOOLS_SERVICE_EVENTS_H
#define TOOLS_SERVICE_EVENTS_H

#include <MoxPvrProtocol.h>
#include <TvDesktop.h>

#include <string>

namespace tool {

using moxpvr::EventDetail;

/// @name Detail codes, as the desktop stand-in means them
/// @{
inline constexpr auto kEndReached = EventDetail::PlaybackApplication0;
inline constexpr auto kBeginningReached = EventDetail::PlaybackApplication1;
inline constexpr auto kUnmuted = EventDetail::PlaybackUnmute;
inline constexpr auto kRecordingBegan = EventDetail::RecorderApplication2;
inline constexpr auto kRecordingEnded = EventDetail::RecorderApplication4;
inline constexpr auto kSourceFailed = EventDetail::RecorderError0;
inline constexpr auto kSinkFailed = EventDetail::RecorderError2;
inline constexpr auto kDiskFull = EventDetail::RecorderError4;
/// @}

bool IsDetail(const tvdesktop::Event &event, EventDetail detail);

/// @return what a SIGNAL_PVR_RECORDER_STARTED carries
moxpvr::RecorderStartedEvent StartedOf(const tvdesktop::Event &event);

/// @return the sentence for an event that ends a recording or a playback badly, empty for others
std::string FailureText(const tvdesktop::Event &event);

/// @return number, name and contents of an event for a reader
std::string EventText(const tvdesktop::Event &event);

}  // namespace tool

#endif
