/// @file
/// The events of the library as the service receives them.
#ifndef TOOLS_SERVICE_EVENTS_H
#define TOOLS_SERVICE_EVENTS_H

#include <MoxPvrProtocol.h>
#include <TvDesktop.h>

#include <algorithm>
#include <vector>

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

/// @return what an event carries, read as the record of its number
template <typename Record>
Record FieldsOf(const tvdesktop::Event &event) {
    Record record;
    moxpvr::Decode(event.record.data(), event.record.size(), record);
    return record;
}

inline bool IsDetail(const tvdesktop::Event &event, EventDetail detail) {
    return event.number == moxpvr::SIGNAL_PVR_SYS_CHANGE &&
           FieldsOf<moxpvr::SysChangeEvent>(event).detail == detail;
}

/// @return whether one of them reports it
inline bool ContainsDetail(const std::vector<tvdesktop::Event> &events, EventDetail detail) {
    return std::any_of(events.begin(), events.end(),
                       [detail](const tvdesktop::Event &event) { return IsDetail(event, detail); });
}

}  // namespace tool

#endif
