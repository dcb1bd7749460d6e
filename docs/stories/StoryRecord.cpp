#include "StoryRecord.h"

#include <tv_recorder.h>
#include <tv_stream.h>

namespace {

using moxpvr::EventDetail;
using moxpvr::RecordType;

template <typename Number>
struct NameOf {
    Number number;
    const char *name;
};

#define NAME(scope, name) \
    { scope::name, #name }

constexpr NameOf<EventDetail> kDetails[] = {
    NAME(EventDetail, PlaybackApplication0), NAME(EventDetail, PlaybackApplication1),
    NAME(EventDetail, PlaybackUnmute),       NAME(EventDetail, PlaybackError1),
    NAME(EventDetail, PlaybackError3),       NAME(EventDetail, RecorderApplication2),
    NAME(EventDetail, RecorderApplication4), NAME(EventDetail, RecorderError0),
    NAME(EventDetail, RecorderError2),       NAME(EventDetail, RecorderError4),
    NAME(EventDetail, RecorderSoundCommand2)};

constexpr NameOf<RecordType> kRecordTypes[] = {NAME(RecordType, None), NAME(RecordType, Recording),
                                               NAME(RecordType, Timeshift)};

#undef NAME

template <typename Number, std::size_t Count>
std::string Find(const NameOf<Number> (&table)[Count], Number number) {
    for (const NameOf<Number> &row : table) {
        if (row.number == number)
            return Format("%d `%s`", static_cast<int>(number), row.name);
    }
    return Format("%d", static_cast<int>(number));
}

#define OF_RECORDER(name) \
    { TV_RECORDER_PROPERTY_##name, #name }
#define OF_STREAM(name) \
    { TV_PROPERTY_##name, #name }

/// Of recorders and of streams; no two have the same number.
constexpr NameOf<int> kProperties[] = {
    OF_RECORDER(AUDIO_PID),
    OF_RECORDER(VIDEO_PID),
    OF_RECORDER(REMOVE_PID),
    OF_RECORDER(PCR_PID),
    OF_RECORDER(AD_PID),
    OF_RECORDER(ADD_PID),
    OF_RECORDER(IS_TIMESHIFT),
    OF_RECORDER(SWAP_TS_TO_RECORD),
    OF_RECORDER(FILE_NAME),
    OF_RECORDER(CHANNEL_INFO),
    OF_RECORDER(IS_SEGMENT_RECORD),
    OF_STREAM(AUDIO_PID),
    OF_STREAM(VIDEO_PID),
    OF_STREAM(PCR_PID),
    OF_STREAM(PLAYBACK_HOLD),
    OF_STREAM(HAS_VIDEO),
    OF_STREAM(AUDIO_CODEC_TYPE),
    OF_STREAM(AUDIO_DECODER_MPEG_STEREO_MODE),
    OF_STREAM(AUDIO_SINK_MUTE),
    OF_STREAM(VIDEO_CODEC_TYPE),
    OF_STREAM(VIDEO_STILL_MODE),
    OF_STREAM(PVRSRC_URI),
    OF_STREAM(PVRSRC_IS_TIMESHIFT),
    OF_STREAM(PVRSRC_START_POSITION),
    OF_STREAM(PVRSRC_MUTE),
    OF_STREAM(RECORD_DURATION),
};

#undef OF_STREAM
#undef OF_RECORDER

}  // namespace

std::string Named(EventDetail detail) {
    return Find(kDetails, detail);
}

std::string Named(RecordType type) {
    return Find(kRecordTypes, type);
}

std::string WithPropertyNames(const std::string &call) {
    std::string text = call;
    for (const NameOf<int> &property : kProperties) {
        const std::string id = Format(", %d=", property.number);
        const auto at = text.find(id);
        if (at != std::string::npos)
            text.insert(at + id.size() - 1, Format(" %s", property.name));
    }
    return text;
}
