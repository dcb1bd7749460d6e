#include <dlog.h>
#include <TCVConfProvider.h>
#include <TIEventManager.h>
#include <TIUserDataManager.h>
#include <tv_player.h>
#include <tv_stream.h>
#include <TVPlayerDataUtil.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "MOXHandle.h"
#include "PlatformListener.h"

namespace {

constexpr std::size_t kTextField = 256;
constexpr std::size_t kLongestLine = 20000;  // holds the longest request text
constexpr char kLogPrefix[] = "[PVR][MOX]";

// Properties whose value is an integer.
constexpr int kIntegers[] = {
    // Of a recorder.
    TV_RECORDER_PROPERTY_AUDIO_PID, TV_RECORDER_PROPERTY_VIDEO_PID, TV_RECORDER_PROPERTY_REMOVE_PID,
    TV_RECORDER_PROPERTY_PCR_PID, TV_RECORDER_PROPERTY_ANALOGUE_34, TV_RECORDER_PROPERTY_AD_PID,
    TV_RECORDER_PROPERTY_ADD_PID, TV_RECORDER_PROPERTY_ANALOGUE_52,
    TV_RECORDER_PROPERTY_IS_TIMESHIFT, TV_RECORDER_PROPERTY_IS_SEGMENT_RECORD,
    // Of a stream.
    TV_PROPERTY_AUDIO_PID, TV_PROPERTY_VIDEO_PID, TV_PROPERTY_PCR_PID, TV_PROPERTY_AD_PID,
    TV_PROPERTY_PLAYBACK_HOLD, TV_PROPERTY_HAS_VIDEO, TV_PROPERTY_AUDIO_CODEC_TYPE,
    TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE, TV_PROPERTY_AUDIO_SINK_MUTE,
    TV_PROPERTY_VIDEO_CODEC_TYPE, TV_PROPERTY_VIDEO_SINK_MUTE, TV_PROPERTY_VIDEO_STILL_MODE,
    TV_PROPERTY_PVRSRC_IS_TIMESHIFT, TV_PROPERTY_PVRSRC_START_POSITION, TV_PROPERTY_PVRSRC_MUTE,
    TV_PROPERTY_AD_CODEC_TYPE, TV_PROPERTY_RECORD_DURATION};

/// Open from the begin of each platform call to its end.
struct PlatformScope {
    PlatformScope() { ++g_platformDepth; }
    ~PlatformScope() { --g_platformDepth; }
    PlatformScope(const PlatformScope &) = delete;
    PlatformScope &operator=(const PlatformScope &) = delete;
};

struct Arguments {
    PlatformScope scope;
    va_list list;
};

void Require(bool holds, const char *promise) {
    if (!holds)
        Listener().Broken(promise);
}

/// Reads memory that is lent, so that a sanitizer sees it when it is not all there.
void Look(const void *bytes, std::size_t count) {
    thread_local volatile unsigned char seen;
    for (std::size_t i = 0; i < count; ++i)
        seen = static_cast<const unsigned char *>(bytes)[i];
    static_cast<void>(seen);
}

// The analyzer does not follow argument lists through copies and members.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)

/// Leaves the list as it is, for another reading.
std::string FormatList(const char *format, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    thread_local char text[kLongestLine];
    const int length = std::vsnprintf(text, sizeof text, format, copy);
    va_end(copy);
    Require(length >= 0 && static_cast<std::size_t>(length) < sizeof text, "lines are bounded");
    return text;
}

/// A part of a note; empty when nobody keeps notes, as fuzz targets are fast then.
template <typename... Values>
std::string Words(const char *format, Values... values) {
    return Listener().keepsNotes ? Format(format, values...) : std::string();
}

std::string Quoted(const char *text) {
    Require(text != nullptr && strnlen(text, kTextField) < kTextField, "texts end in their field");
    return Words("\"%s\"", text);
}

/// Takes one property value by the type that its id has.
std::string PropertyValue(int id, Arguments &arguments) {
    switch (id) {
        case TV_RECORDER_PROPERTY_FILE_NAME:
        case TV_PROPERTY_PVRSRC_URI:
            return Quoted(va_arg(arguments.list, const char *));
        case TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD: {
            const auto *swap = va_arg(arguments.list, const TvRecorderSwap *);
            Look(swap->fileName, kTextField);
            Listener().Name(swap->fileName, "swap name");
            return Words("{%s, %d, %d}", Quoted(swap->fileName).c_str(), swap->isTimeshift,
                         swap->isSegmentRecord);
        }
        case TV_RECORDER_PROPERTY_CHANNEL_INFO: {
            const auto *info = va_arg(arguments.list, const TvChannelInfo *);
            Look(info, sizeof *info);
            return Words("{video 0x%x, reserved[1] %d}", info->videoPid, info->reserved[1]);
        }
        default:
            return Words("0x%x", va_arg(arguments.list, unsigned int));
    }
}

// NOLINTEND(clang-analyzer-valist.Uninitialized)

bool IsProperty(int id) {
    return id == TV_RECORDER_PROPERTY_FILE_NAME || id == TV_PROPERTY_PVRSRC_URI ||
           id == TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD ||
           id == TV_RECORDER_PROPERTY_CHANNEL_INFO ||
           std::find(std::begin(kIntegers), std::end(kIntegers), id) != std::end(kIntegers);
}

int Call(const char *name, const void *object, const std::string &arguments) {
    Require(object == nullptr || object == kRecorder || object == kPlayer || object == kStream,
            "calls are made on the service's own objects");
    Listener().Note(Words("%s(%p%s)", name, object, arguments.c_str()));
    return Listener().Answer(name, 0);
}

int SetProperties(const char *name, const void *object, int id, Arguments &arguments) {
    std::string list;
    for (; id != 0 && IsProperty(id); id = va_arg(arguments.list, int))
        list += Words(", %d=", id) + PropertyValue(id, arguments);
    Require(id == 0, "property lists are closed and hold known properties");
    return Call(name, object, list);
}

int SendEvent(int event, const std::string &to, void *data, int option) {
    constexpr unsigned char kDetails[] = {1, 2, 3, 51, 52, 101, 102, 151, 152, 153, 154};
    const auto *b = static_cast<unsigned char *>(data);
    std::string record;
    for (int i = 0; i < 16; ++i)
        record += Words(i % 4 == 0 ? " %02x" : "%02x", b[i]);
    Require(option == 0 && (event == 31 ? std::memchr(kDetails, b[1], sizeof kDetails) != nullptr
                                        : event == 32769 && b[1] == 0),
            "events, their details and options are the documented ones");
    Listener().Note(Words("event %d%s%s", event, to.c_str(), record.c_str()));
    return Listener().Answer("Send", 1);
}

bool IsLogFormat(int id, const char *tag, const char *format, const std::string &file, int line) {
    return id == DLOG_ID_MAIN && std::strcmp(tag, "PVR_SVC_MOX") == 0 &&
           std::strncmp(format, "%s: %s(%d) > ", 13) == 0 &&
           std::strncmp(format + 13, kLogPrefix, std::strlen(kLogPrefix)) == 0 && line > 0 &&
           (file == "MoxPvr.cpp" || file == "MoxPvrRecord.cpp" || file == "MoxPvrPlayback.cpp");
}

}  // namespace

std::string Format(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatList(format, arguments);
    va_end(arguments);
    return text;
}

/// Defines a call that is noted with the object it is made on and the rest as `format` says.
#define CALL(name, parameters, ...)                     \
    int name parameters {                               \
        const PlatformScope scope;                      \
        return Call(#name, object, Words(__VA_ARGS__)); \
    }
#define PLAIN_CALL(name)                \
    int name(void *object) {            \
        const PlatformScope scope;      \
        return Call(#name, object, {}); \
    }
#define PROPERTY_CALL(name)                                             \
    int name(void *object, int id, ...) {                               \
        Arguments arguments;                                            \
        va_start(arguments.list, id);                                   \
        const int result = SetProperties(#name, object, id, arguments); \
        va_end(arguments.list);                                         \
        return result;                                                  \
    }
#define POSITION_CALL(name)                                            \
    int name(void *object, long long *position, long long *duration) { \
        const PlatformScope scope;                                     \
        if (Listener().position != 0)                                  \
            *position = Listener().position;                           \
        if (Listener().duration != 0)                                  \
            *duration = Listener().duration;                           \
        return Call(#name, object, {});                                \
    }

extern "C" {

int __dlog_print(int log_id, int prio, const char *tag, const char *fmt, ...) {
    Arguments arguments;
    va_start(arguments.list, fmt);
    const std::string text = FormatList(fmt, arguments.list);
    const std::string file = va_arg(arguments.list, const char *);
    const char *function = va_arg(arguments.list, const char *);
    const int line = va_arg(arguments.list, int);
    va_end(arguments.list);
    if (!IsLogFormat(log_id, tag, fmt, file, line) || text.back() != '\n') {
        Listener().Broken(Format("log lines have one form: %d %s: ", log_id, tag) + text);
        return -1;
    }
    const std::size_t message = text.find(kLogPrefix) + std::strlen(kLogPrefix);
    Listener().Log(prio, file, function, text.substr(message, text.size() - 1 - message));
    return 0;
}

PLAIN_CALL(tv_recorder_start)
PLAIN_CALL(tv_recorder_pause)
PLAIN_CALL(tv_recorder_resume)
PLAIN_CALL(tv_recorder_stop)
PLAIN_CALL(tv_recorder_set_playing_state_for_tuner_and_demuxer)
PLAIN_CALL(tv_player_ready)
PLAIN_CALL(tv_player_pause)
PLAIN_CALL(tv_player_resume)
PLAIN_CALL(tv_player_step_play)
PLAIN_CALL(tv_stream_start)
PLAIN_CALL(tv_stream_stop)
PLAIN_CALL(tv_stream_is_audio_description_enabled)
PLAIN_CALL(tv_stream_disable_audio_description)
PROPERTY_CALL(tv_recorder_set_property)
PROPERTY_CALL(tv_stream_set_property)
POSITION_CALL(tv_recorder_get_position)
POSITION_CALL(tv_player_get_position)
CALL(tv_player_set_play_speed, (void *object, long long position, double rate), ", %lld, %g",
     position, rate)
CALL(tv_player_set_position, (void *object, long long position, double rate), ", %lld, %g",
     position, rate)
CALL(tv_stream_enable_audio_description, (void *object, unsigned int pid), ", 0x%x", pid)
CALL(tv_stream_set_kr3d_mode_format, (void *object, int mode, int format), ", %d, %d", mode, format)
CALL(tv_stream_set_3d_mode, (void *object, int mode, int pid), ", %d, 0x%x", mode, pid)

int tv_recorder_set_callback(void *object, tv_recorder_callback callback, void *user_data) {
    const PlatformScope scope;
    Listener().callback = callback;
    Listener().callbackUser = user_data;
    return Call(__func__, object, {});
}

int tv_recorder_get_timeshift_duration(void *object, unsigned int size, unsigned int *duration) {
    const PlatformScope scope;
    if (Listener().timeshiftDuration != 0)
        *duration = Listener().timeshiftDuration;
    return Call(__func__, object, Words(", %u", size));
}

int tv_stream_get_channel_info(void *object, int time, TvChannelInfo **info) {
    const PlatformScope scope;
    const int result = Call(__func__, object, Words(", %d", time));
    if (result == 0)
        *info = Listener().ChannelAt(time);
    return result;
}
}

TIEventManager *TIEventManager::Instance() {
    static TIEventManager manager;
    return Listener().hasEventManager ? &manager : nullptr;
}

int TIEventManager::Send(int event, void *data, int option) {
    const PlatformScope scope;
    return SendEvent(event, "", data, option);
}

int TIEventManager::Send(int event, const MOXHandle *handle, void *data, int option) {
    const PlatformScope scope;
    return SendEvent(event, Words(" (%d, %d)", handle->profileId, handle->subId), data, option);
}

TIUserDataManager *TIUserDataManager::Instance(const MOXHandle &handle) {
    const PlatformScope scope;
    static TIUserDataManager manager;
    Listener().Note(Words("TIUserDataManager(%d, %d)", handle.profileId, handle.subId));
    return Listener().hasUserDataManager ? &manager : nullptr;
}

int TIUserDataManager::Start(void *stream, int option) {
    const PlatformScope scope;
    return Call("TIUserDataManager::Start", stream, Words(", %d", option));
}

int TIUserDataManager::Stop() {
    const PlatformScope scope;
    Listener().Note("TIUserDataManager::Stop()");
    return Listener().Answer("TIUserDataManager::Stop", 0);
}

int TCVConfProvider::GetDescrambleMode() {
    const PlatformScope scope;
    Listener().Note("TCVConfProvider::GetDescrambleMode()");
    return Listener().Answer("GetDescrambleMode", 0);
}

// Conversions that are told apart: 0x1000 video, 0x2000 audio, 0x3000 sound mode. Of any number.
int TVPlayerDataUtil::ConvertVideoEncodeType(EVideoEncodeType type) {
    return static_cast<int>(0x1000U + static_cast<unsigned int>(type));
}

int TVPlayerDataUtil::ConvertAudioEncodeType(EAudioEncodeType type) {
    return static_cast<int>(0x2000U + static_cast<unsigned int>(type));
}

int TVPlayerDataUtil::ConvertDigitalMTSModeType(EMultiSoundMode mode) {
    return static_cast<int>(0x3000U + static_cast<unsigned int>(mode));
}
