#include "ScriptedPlatform.h"

#include <dlog.h>
#include <TCVConfProvider.h>
#include <TIEventManager.h>
#include <TIUserDataManager.h>
#include <tv_player.h>
#include <tv_stream.h>
#include <TVPlayerDataUtil.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstring>

#include "MOXHandle.h"
#include "Require.h"

namespace {

constexpr std::size_t kTextField = 256;

constexpr int kIntegerProperties[] = {TV_RECORDER_PROPERTY_AUDIO_PID,
                                      TV_RECORDER_PROPERTY_VIDEO_PID,
                                      TV_RECORDER_PROPERTY_REMOVE_PID,
                                      TV_RECORDER_PROPERTY_PCR_PID,
                                      TV_RECORDER_PROPERTY_ANALOGUE_34,
                                      TV_RECORDER_PROPERTY_AD_PID,
                                      TV_RECORDER_PROPERTY_ADD_PID,
                                      TV_RECORDER_PROPERTY_ANALOGUE_52,
                                      TV_RECORDER_PROPERTY_IS_TIMESHIFT,
                                      TV_RECORDER_PROPERTY_IS_SEGMENT_RECORD,
                                      TV_PROPERTY_AUDIO_PID,
                                      TV_PROPERTY_VIDEO_PID,
                                      TV_PROPERTY_PCR_PID,
                                      TV_PROPERTY_AD_PID,
                                      TV_PROPERTY_PLAYBACK_HOLD,
                                      TV_PROPERTY_HAS_VIDEO,
                                      TV_PROPERTY_AUDIO_CODEC_TYPE,
                                      TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE,
                                      TV_PROPERTY_AUDIO_SINK_MUTE,
                                      TV_PROPERTY_VIDEO_CODEC_TYPE,
                                      TV_PROPERTY_VIDEO_SINK_MUTE,
                                      TV_PROPERTY_VIDEO_STILL_MODE,
                                      TV_PROPERTY_PVRSRC_IS_TIMESHIFT,
                                      TV_PROPERTY_PVRSRC_START_POSITION,
                                      TV_PROPERTY_PVRSRC_MUTE,
                                      TV_PROPERTY_AD_CODEC_TYPE,
                                      TV_PROPERTY_RECORD_DURATION};

/// What can be counted as read by a compiler that would leave an unused look out.
volatile unsigned int g_looked = 0;

void Look(const void *bytes, std::size_t count) {
    const auto *byte = static_cast<const unsigned char *>(bytes);
    for (std::size_t i = 0; i < count; ++i)
        g_looked = g_looked + byte[i];
}

void LookAtText(const char *text) {
    Require(text != nullptr && strnlen(text, kTextField) < kTextField, "texts end in their field");
}

struct Arguments {
    va_list list;
};

/// Takes one property value by the type that its id has.
void TakeProperty(int id, Arguments &arguments) {
    switch (id) {
        case TV_RECORDER_PROPERTY_FILE_NAME:
        case TV_PROPERTY_PVRSRC_URI:
            LookAtText(va_arg(arguments.list, const char *));
            break;
        case TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD: {
            const auto *swap = va_arg(arguments.list, const TvRecorderSwap *);
            Look(swap, sizeof *swap);
            Look(swap->fileName, kTextField);
            LookAtText(swap->fileName);
            break;
        }
        case TV_RECORDER_PROPERTY_CHANNEL_INFO:
            Look(va_arg(arguments.list, const TvChannelInfo *), sizeof(TvChannelInfo));
            break;
        default:
            Require(std::find(std::begin(kIntegerProperties), std::end(kIntegerProperties), id) !=
                        std::end(kIntegerProperties),
                    "property lists are closed and hold known properties");
            Look("", static_cast<std::size_t>(va_arg(arguments.list, int) & 1));
    }
}

int LookAtEvent(int event, const void *record, int option) {
    constexpr unsigned char kDetails[] = {1, 2, 3, 51, 52, 101, 102, 151, 152, 153, 154};
    Look(record, 16);
    const unsigned char c1 = static_cast<const unsigned char *>(record)[1];
    Require(option == 0, "events are sent without an option");
    Require(event == 31 ? std::memchr(kDetails, c1, sizeof kDetails) != nullptr
                        : event == 32769 && c1 == 0,
            "events and their details are the documented ones");
    return Platform().Answer(nullptr) == 0 ? 1 : 0;
}

}  // namespace

ScriptedPlatform &Platform() {
    static ScriptedPlatform platform;
    return platform;
}

void ScriptedPlatform::Script(FuzzedDataProvider &input) {
    m_failing = input.ConsumeIntegral<std::uint8_t>();
    m_failure = input.PickValueInArray({1, -1, 2, 9999, INT_MIN, INT_MAX});
    const auto missing = input.ConsumeIntegral<std::uint8_t>();
    hasEventManager = (missing & 1) == 0;
    hasUserDataManager = (missing & 2) == 0;
    const bool hasTimes = (missing & 8) != 0;
    position = hasTimes ? input.ConsumeIntegral<long long>() : 0;
    duration = hasTimes ? input.ConsumeIntegral<long long>() : 0;
    channel = nullptr;
    if ((missing & 4) == 0)
        channel = std::make_unique<TvChannelInfo>(
            (missing & 16) != 0 ? TakeStruct<TvChannelInfo>(input) : TvChannelInfo{});
    m_calls = 0;
    m_hasFailed = false;
    m_firstLine.clear();
}

int ScriptedPlatform::Answer(const void *object) {
    Require(object == nullptr || object == kRecorder || object == kPlayer || object == kStream,
            "calls are made on the service's own objects");
    const bool fails = (m_failing >> (m_calls++ % 8) & 1) != 0;
    m_hasFailed = m_hasFailed || fails;
    return fails ? m_failure : 0;
}

void ScriptedPlatform::Log(const char *line) {
    if (m_firstLine.empty())
        m_firstLine = line;
}

#define CALL(name, parameters)            \
    int name parameters {                 \
        return Platform().Answer(object); \
    }
#define PROPERTY_CALL(name)                               \
    int name(void *object, int id, ...) {                 \
        Arguments arguments;                              \
        va_start(arguments.list, id);                     \
        for (; id != 0; id = va_arg(arguments.list, int)) \
            TakeProperty(id, arguments);                  \
        va_end(arguments.list);                           \
        return Platform().Answer(object);                 \
    }
#define POSITION_CALL(name)                                            \
    int name(void *object, long long *position, long long *duration) { \
        *position = Platform().position;                               \
        *duration = Platform().duration;                               \
        return Platform().Answer(object);                              \
    }

extern "C" {

int __dlog_print(int /*log_id*/, int /*prio*/, const char *tag, const char *fmt, ...) {
    static char line[20000];  // holds the longest request text in a line
    Arguments arguments;
    va_start(arguments.list, fmt);
    const int length = std::vsnprintf(line, sizeof line, fmt, arguments.list);
    va_end(arguments.list);
    Require(length > 0 && static_cast<std::size_t>(length) < sizeof line &&
                line[length - 1] == '\n' && std::strcmp(tag, "PVR_SVC_MOX") == 0,
            "log lines are bounded and end");
    Platform().Log(line);
    return length;
}

CALL(tv_recorder_start, (void *object))
CALL(tv_recorder_pause, (void *object))
CALL(tv_recorder_resume, (void *object))
CALL(tv_recorder_stop, (void *object))
CALL(tv_recorder_set_playing_state_for_tuner_and_demuxer, (void *object))
CALL(tv_player_ready, (void *object))
CALL(tv_player_pause, (void *object))
CALL(tv_player_resume, (void *object))
CALL(tv_player_step_play, (void *object))
CALL(tv_player_set_play_speed, (void *object, long long, double))
CALL(tv_player_set_position, (void *object, long long, double))
CALL(tv_stream_start, (void *object))
CALL(tv_stream_stop, (void *object))
CALL(tv_stream_is_audio_description_enabled, (void *object))
CALL(tv_stream_enable_audio_description, (void *object, unsigned int))
CALL(tv_stream_disable_audio_description, (void *object))
CALL(tv_stream_set_kr3d_mode_format, (void *object, int, int))
CALL(tv_stream_set_3d_mode, (void *object, int, int))
PROPERTY_CALL(tv_recorder_set_property)
PROPERTY_CALL(tv_stream_set_property)
POSITION_CALL(tv_recorder_get_position)
POSITION_CALL(tv_player_get_position)

int tv_recorder_set_callback(void *object, tv_recorder_callback callback, void *user_data) {
    Platform().callback = callback;
    Platform().callbackUser = user_data;
    return Platform().Answer(object);
}

int tv_recorder_get_timeshift_duration(void *object, unsigned int hdd_size,
                                       unsigned int *duration) {
    *duration = ~hdd_size;
    return Platform().Answer(object);
}

int tv_stream_get_channel_info(void *object, int /*time*/, TvChannelInfo **info) {
    const int result = Platform().Answer(object);
    if (result == 0)
        *info = Platform().channel.get();
    return result;
}
}

TIEventManager *TIEventManager::Instance() {
    static TIEventManager manager;
    return Platform().hasEventManager ? &manager : nullptr;
}

int TIEventManager::Send(int event, void *data, int option) {
    return LookAtEvent(event, data, option);
}

int TIEventManager::Send(int event, const MOXHandle *handle, void *data, int option) {
    Look(handle, sizeof *handle);
    return LookAtEvent(event, data, option);
}

TIUserDataManager *TIUserDataManager::Instance(const MOXHandle &handle) {
    static TIUserDataManager manager;
    Look(&handle, sizeof handle);
    return Platform().hasUserDataManager ? &manager : nullptr;
}

int TIUserDataManager::Start(void *stream, int /*option*/) {
    return Platform().Answer(stream);
}

int TIUserDataManager::Stop() {
    return Platform().Answer(nullptr);
}

int TCVConfProvider::GetDescrambleMode() {
    return Platform().Answer(nullptr);
}

int TVPlayerDataUtil::ConvertVideoEncodeType(EVideoEncodeType type) {
    return static_cast<int>(type);
}

int TVPlayerDataUtil::ConvertAudioEncodeType(EAudioEncodeType type) {
    return static_cast<int>(type);
}

int TVPlayerDataUtil::ConvertDigitalMTSModeType(EMultiSoundMode mode) {
    return static_cast<int>(mode);
}
