#include "Events.h"

namespace tool {

namespace {

struct DetailWords {
    Detail detail;
    const char *words;
    const char *failure;  ///< the sentence to end with, or null
};

constexpr DetailWords kDetails[] = {
    {kEndReached, "end of the recording", nullptr},
    {kBeginningReached, "beginning of the recording", nullptr},
    {kUnmuted, "decoder unmuted", nullptr},
    {kPlaybackError1, "source failed", "the recording cannot be read, or became shorter"},
    {kPlaybackError3, "nothing to decode", "nothing in the recording can be decoded"},
    {kRecordingBegan, "first packets written", nullptr},
    {kRecordingEnded, "end of the recording", nullptr},
    {kSourceFailed, "source failed", "The source cannot be read any further."},
    {kSinkFailed, "sink failed", "The recording cannot be written any further."},
    {kDiskFull, "disk full", "The disk is full: the recording ends here."},
    {kSoundCommand, "sound command", nullptr},
};

std::int32_t Word(const tvdesktop::Event &event, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | event.record.at(offset + i);
    return static_cast<std::int32_t>(value);
}

const DetailWords *WordsOf(const tvdesktop::Event &event) {
    if (event.number != kSysChange)
        return nullptr;
    for (const DetailWords &words : kDetails)
        if (event.record[1] == words.detail)
            return &words;
    return nullptr;
}

std::string SysChangeText(const tvdesktop::Event &event) {
    const DetailWords *known = WordsOf(event);
    std::string text = "31 SIGNAL_PVR_SYS_CHANGE, detail " + std::to_string(event.record[1]) +
                       " (" + (known != nullptr ? known->words : "unknown") + "), handle " +
                       std::to_string(FirstByte(event));
    if (const std::int32_t parameter = Word(event, 4); parameter != 0)
        text += ", parameter " + std::to_string(parameter);
    return text;
}

std::string RecorderStartedText(const tvdesktop::Event &event) {
    std::string text = "32769 SIGNAL_PVR_RECORDER_STARTED, record type " +
                       std::to_string(FirstByte(event)) + ", service " +
                       std::to_string(StartedServiceId(event));
    if (event.handle)
        text += ", instance (" + std::to_string(event.handle->profileId) + ", " +
                std::to_string(event.handle->subId) + ")";
    return text;
}

}  // namespace

bool IsDetail(const tvdesktop::Event &event, Detail detail) {
    return event.number == kSysChange && event.record[1] == detail;
}

int FirstByte(const tvdesktop::Event &event) {
    return event.record[0];
}

std::uint64_t StartedServiceId(const tvdesktop::Event &event) {
    std::uint64_t id = 0;
    for (std::size_t i = 8; i-- > 0;)
        id = id << 8 | event.record.at(8 + i);
    return id;
}

std::string FailureText(const tvdesktop::Event &event) {
    const DetailWords *known = WordsOf(event);
    return known != nullptr && known->failure != nullptr ? known->failure : "";
}

std::string EventText(const tvdesktop::Event &event) {
    switch (event.number) {
        case kSysChange:
            return SysChangeText(event);
        case kRecorderStarted:
            return RecorderStartedText(event);
        default:
            return std::to_string(event.number) + " (unknown event)";
    }
}

}  // namespace tool
