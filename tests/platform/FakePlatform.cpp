#include "FakePlatform.h"

#include <dlog.h>
#include <TCVConfProvider.h>
#include <TIEventManager.h>
#include <TIUserDataManager.h>
#include <tv_player.h>
#include <tv_stream.h>
#include <TVPlayerDataUtil.h>

#include <cstdarg>
#include <cstring>

#include "MOXHandle.h"

namespace {

constexpr int kFailure = 77;

// The analyzer does not follow argument lists through copies and members.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)

/// Leaves the list as it is, for another reading.
std::string FormatList(const char *format, va_list arguments) {
    va_list copy;
    va_copy(copy, arguments);
    char text[20000];  // holds the longest request text in a line
    std::vsnprintf(text, sizeof text, format, copy);
    va_end(copy);
    return text;
}

void ReplaceAll(std::string &text, const std::string &what, const std::string &with) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

struct Arguments {
    PlatformCall call;
    va_list list;
};

/// Takes one property value by the type that its id has.
std::string PropertyValue(int id, Arguments &arguments) {
    switch (id) {
        case TV_RECORDER_PROPERTY_FILE_NAME:
        case TV_PROPERTY_PVRSRC_URI:
            return Format("\"%s\"", va_arg(arguments.list, const char *));
        case TV_RECORDER_PROPERTY_SWAP_TS_TO_RECORD: {
            const auto *swap = va_arg(arguments.list, const TvRecorderSwap *);
            Fake().Name(swap->fileName, "swap name");
            return Format("{\"%s\", %d, %d}", swap->fileName, swap->isTimeshift,
                          swap->isSegmentRecord);
        }
        case TV_RECORDER_PROPERTY_CHANNEL_INFO: {
            const auto *info = va_arg(arguments.list, const TvChannelInfo *);
            return Format("{video 0x%x, reserved[1] %d}", info->videoPid, info->reserved[1]);
        }
        default:
            return Format("0x%x", va_arg(arguments.list, unsigned int));
    }
}

// NOLINTEND(clang-analyzer-valist.Uninitialized)

int SetProperties(const char *call, void *object, int id, Arguments &arguments) {
    std::string list;
    for (; id != 0; id = va_arg(arguments.list, int))
        list += Format(", %d=", id) + PropertyValue(id, arguments);
    Fake().Write("%s(%p%s)", call, object, list.c_str());
    return Fake().Result(call);
}

int SendEvent(int event, const std::string &to, void *data, int option) {
    const auto *b = static_cast<unsigned char *>(data);
    std::string record;
    for (int i = 0; i < 16; ++i)
        record += Format(i % 4 == 0 ? " %02x" : "%02x", b[i]);
    Fake().Write("event %d%s%s%s", event, to.c_str(), record.c_str(), option == 0 ? "" : " option");
    return Fake().Result("Send", 1);
}

bool IsLogFormat(int id, const char *tag, const char *format, const std::string &file, int line) {
    return id == DLOG_ID_MAIN && std::strcmp(tag, "PVR_SVC_MOX") == 0 &&
           std::strncmp(format, "%s: %s(%d) > [PVR][MOX]", 23) == 0 && line > 0 &&
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

FakePlatform &Fake() {
    static FakePlatform platform;
    return platform;
}

void FakePlatform::Reset() {
    results.clear();
    channels.clear();
    during.clear();
    now = {};
    failing = 0;
    failed.clear();
    hasEventManager = hasUserDataManager = true;
    position = duration = 0;
    timeshiftDuration = 0;
    callback = nullptr;
    m_journal.clear();
    m_names.clear();
    Name(kRecorder, "recorder");
    Name(kPlayer, "player");
    Name(kStream, "stream");
}

void FakePlatform::Name(const void *object, const std::string &name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_names[Format("%p", object)] = name;
    m_names[Format("0x%x", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(object)))] =
        name;
}

void FakePlatform::Write(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string entry = FormatList(format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_journal.push_back(std::move(entry));
}

int FakePlatform::Result(const char *call, int usual) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (const auto event = during.extract(call)) {
        lock.unlock();
        event.mapped()();
        lock.lock();
    }
    if (failing > 0 && --failing == 0) {
        failed = call;
        return usual == 0 ? kFailure : 0;
    }
    const auto result = results.find(call);
    return result == results.end() ? usual : result->second;
}

TvChannelInfo *FakePlatform::ChannelAt(int time) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    auto next = channels.upper_bound(time);
    if (next == channels.begin())
        return nullptr;
    t_lentRecord = (--next)->second;
    return &t_lentRecord;
}

std::chrono::steady_clock::time_point FakePlatform::Now() {
    Fake().Result("clock");
    return Fake().now;
}

std::string FakePlatform::Take(const char *firstLetters) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string text;
    for (const std::string &entry : m_journal) {
        if (std::strchr(firstLetters, entry[0]) != nullptr)
            text += entry + '\n';
    }
    m_journal.clear();
    for (const auto &[address, name] : m_names)
        ReplaceAll(text, address, name);
    return text;
}

/// Defines a call that is written down with the object it is made on and the rest as `format` says.
#define CALL(name, parameters, format, ...)                \
    int name parameters {                                  \
        const PlatformCall call;                           \
        Fake().Write(#name "(%p" format ")", __VA_ARGS__); \
        return Fake().Result(#name);                       \
    }
#define PLAIN_CALL(name) CALL(name, (void *object), "", object)
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
        const PlatformCall call;                                       \
        if (Fake().position != 0)                                      \
            *position = Fake().position;                               \
        if (Fake().duration != 0)                                      \
            *duration = Fake().duration;                               \
        Fake().Write(#name "(%p)", object);                            \
        return Fake().Result(#name);                                   \
    }

extern "C" {

int __dlog_print(int log_id, int prio, const char *tag, const char *fmt, ...) {
    Arguments arguments;
    va_start(arguments.list, fmt);
    std::string text = FormatList(fmt, arguments.list);
    const std::string file = va_arg(arguments.list, const char *);
    const char *function = va_arg(arguments.list, const char *);
    const int line = va_arg(arguments.list, int);
    va_end(arguments.list);
    if (!IsLogFormat(log_id, tag, fmt, file, line) || text.back() != '\n') {
        Fake().Write("BAD log %d %s: %s", log_id, tag, text.c_str());
        return -1;
    }
    text.pop_back();
    ReplaceAll(text, "\n", "\\n");
    const std::size_t prefix =
        Format("%s: %s(%d) > [PVR][MOX]", file.c_str(), function, line).size();
    Fake().Write("log %d %s(%s): %s", prio, function, file.substr(0, file.find('.')).c_str(),
                 text.c_str() + prefix);
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

int tv_recorder_set_callback(void *recorder, tv_recorder_callback callback, void *user_data) {
    const PlatformCall call;
    Fake().callback = callback;
    Fake().callbackUser = user_data;
    Fake().Write("%s(%p)", __func__, recorder);
    return Fake().Result(__func__);
}

PROPERTY_CALL(tv_recorder_set_property)
PROPERTY_CALL(tv_stream_set_property)
POSITION_CALL(tv_recorder_get_position)
POSITION_CALL(tv_player_get_position)
CALL(tv_player_set_play_speed, (void *player, long long position, double rate), ", %lld, %g",
     player, position, rate)
CALL(tv_player_set_position, (void *player, long long position, double rate), ", %lld, %g", player,
     position, rate)
CALL(tv_stream_enable_audio_description, (void *stream, unsigned int pid), ", 0x%x", stream, pid)
CALL(tv_stream_set_kr3d_mode_format, (void *stream, int mode, int format), ", %d, %d", stream, mode,
     format)
CALL(tv_stream_set_3d_mode, (void *stream, int mode, int pid), ", %d, 0x%x", stream, mode, pid)

int tv_recorder_get_timeshift_duration(void *recorder, unsigned int size, unsigned int *duration) {
    const PlatformCall call;
    if (Fake().timeshiftDuration != 0)
        *duration = Fake().timeshiftDuration;
    Fake().Write("%s(%p, %u)", __func__, recorder, size);
    return Fake().Result(__func__);
}

int tv_stream_get_channel_info(void *stream, int time, TvChannelInfo **info) {
    const PlatformCall call;
    Fake().Write("%s(%p, %d)", __func__, stream, time);
    const int result = Fake().Result(__func__);
    *info = result == 0 ? Fake().ChannelAt(time) : nullptr;
    return result;
}
}

TIEventManager *TIEventManager::Instance() {
    static TIEventManager manager;
    return Fake().hasEventManager ? &manager : nullptr;
}

int TIEventManager::Send(int event, void *data, int option) {
    const PlatformCall call;
    return SendEvent(event, "", data, option);
}

int TIEventManager::Send(int event, const MOXHandle *handle, void *data, int option) {
    const PlatformCall call;
    return SendEvent(event, Format(" (%d, %d)", handle->profileId, handle->subId), data, option);
}

TIUserDataManager *TIUserDataManager::Instance(const MOXHandle &handle) {
    const PlatformCall call;
    static TIUserDataManager manager;
    Fake().Write("TIUserDataManager(%d, %d)", handle.profileId, handle.subId);
    return Fake().hasUserDataManager ? &manager : nullptr;
}

int TIUserDataManager::Start(void *stream, int option) {
    const PlatformCall call;
    Fake().Write("TIUserDataManager::Start(%p, %d)", stream, option);
    return Fake().Result("TIUserDataManager::Start");
}

int TIUserDataManager::Stop() {
    const PlatformCall call;
    Fake().Write("TIUserDataManager::Stop()");
    return Fake().Result("TIUserDataManager::Stop");
}

int TCVConfProvider::GetDescrambleMode() {
    const PlatformCall call;
    Fake().Write("TCVConfProvider::GetDescrambleMode()");
    return Fake().Result("GetDescrambleMode");
}

// Conversions that are told apart in the journal: 0x1000 video, 0x2000 audio, 0x3000 sound mode.
int TVPlayerDataUtil::ConvertVideoEncodeType(EVideoEncodeType type) {
    return 0x1000 + static_cast<int>(type);
}

int TVPlayerDataUtil::ConvertAudioEncodeType(EAudioEncodeType type) {
    return 0x2000 + static_cast<int>(type);
}

int TVPlayerDataUtil::ConvertDigitalMTSModeType(EMultiSoundMode mode) {
    return 0x3000 + static_cast<int>(mode);
}
