#include "text/EventText.h"

#include "service/Events.h"

namespace tool {

namespace {

struct DetailWords {
    EventDetail detail;
    const char *words;
    const char *failure;  ///< the message to end with, or null
};

constexpr DetailWords kDetails[] = {
    {kEndReached, "end of the recording", nullptr},
    {kBeginningReached, "beginning of the recording", nullptr},
    {kUnmuted, "decoder unmuted", nullptr},
    {EventDetail::PlaybackError1, "source failed",
     "playback failed: the recording cannot be read, or became shorter"},
    {EventDetail::PlaybackError3, "nothing to decode",
     "playback failed: nothing in the recording can be decoded"},
    {kRecordingBegan, "first packets written", nullptr},
    {kRecordingEnded, "end of the recording", nullptr},
    {kSourceFailed, "source failed", "recording failed: the source cannot be read any further"},
    {kSinkFailed, "sink failed", "recording failed: it cannot be written any further"},
    {kDiskFull, "disk full", "recording failed: the disk is full"},
    {EventDetail::RecorderSoundCommand2, "sound command", nullptr},
};

const DetailWords *WordsOf(EventDetail detail) {
    for (const DetailWords &words : kDetails)
        if (words.detail == detail)
            return &words;
    return nullptr;
}

std::string SysChangeText(const tvdesktop::Event &event) {
    const auto fields = FieldsOf<moxpvr::SysChangeEvent>(event);
    std::string text = std::to_string(event.number) + ' ' + fields.Name() + ", detail " +
                       std::to_string(static_cast<int>(fields.detail)) + " (" +
                       DetailText(fields.detail) + "), handle " + std::to_string(fields.handle);
    if (fields.parameter != 0)
        text += ", parameter " + std::to_string(fields.parameter);
    return text;
}

std::string RecorderStartedText(const tvdesktop::Event &event) {
    const auto fields = FieldsOf<moxpvr::RecorderStartedEvent>(event);
    std::string text = std::to_string(event.number) + ' ' + fields.Name() + ", record type " +
                       std::to_string(static_cast<int>(fields.recordType)) + ", service " +
                       std::to_string(fields.serviceId);
    if (event.handle)
        text += ", instance (" + std::to_string(event.handle->profileId) + ", " +
                std::to_string(event.handle->subId) + ")";
    return text;
}

}  // namespace

const char *DetailText(EventDetail detail) {
    const DetailWords *known = WordsOf(detail);
    return known != nullptr ? known->words : "unknown";
}

std::string EventFailureText(const tvdesktop::Event &event) {
    if (event.number != moxpvr::SIGNAL_PVR_SYS_CHANGE)
        return "";
    const DetailWords *known = WordsOf(FieldsOf<moxpvr::SysChangeEvent>(event).detail);
    return known != nullptr && known->failure != nullptr ? known->failure : "";
}

std::string EventText(const tvdesktop::Event &event) {
    switch (event.number) {
        case moxpvr::SIGNAL_PVR_SYS_CHANGE:
            return SysChangeText(event);
        case moxpvr::SIGNAL_PVR_RECORDER_STARTED:
            return RecorderStartedText(event);
        default:
            return std::to_string(event.number) + " (unknown event)";
    }
}

}  // namespace tool
