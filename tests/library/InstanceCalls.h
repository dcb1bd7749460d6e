/// @file
/// Operations in words, and those of them that are no requests.
#ifndef TESTS_LIBRARY_INSTANCECALLS_H
#define TESTS_LIBRARY_INSTANCECALLS_H

#include "BusMessages.h"
#include "InstanceTest.h"

/// One line of a scenario, taken apart.
struct Operation {
    explicit Operation(const std::string &line) : kind(line[0]) {
        std::istringstream words(line.substr(2));
        words >> name;
        for (std::string word; words >> word;) {
            const auto equals = word.find('=');
            if (word == "=")
                words >> result;
            else if (equals != std::string::npos)
                answers[word.substr(0, equals)] = word.substr(equals + 1);
            else
                fields.push_back(word);
        }
    }

    /// A field as a number of whatever type is asked for; 0 after the last one.
    struct Number {
        template <typename Type, typename = std::enable_if_t<!std::is_class_v<Type>>>
        operator Type() const {  // NOLINT(google-explicit-constructor): w[0] is an argument
            return static_cast<Type>(value);
        }
        long long value;
    };
    Number operator[](std::size_t field) const {
        return {field < fields.size() ? std::stoll(fields[field], nullptr, 0) : 0};
    }

    std::string Request() const {
        std::string words = name;
        for (const std::string &field : fields)
            words += ' ' + field;
        return words;
    }

    /// @return the line as it is when the operation ends with this
    std::string Line(unsigned int endResult, const std::string &reply,
                     const std::string &state) const {
        std::string line = kind + (' ' + Request());
        if (endResult != 0)
            line += Format(" = %u", endResult);
        for (const auto &[call, answer] : answers) {
            if (call != "reply" && call != "state")
                line += Format(" %s=%s", call.c_str(), answer.c_str());
        }
        if (reply != "none")
            line += " reply=" + reply;
        if (answers.count("state") != 0)
            line += " state=" + state;
        return line;
    }

    char kind;
    std::string name;
    std::vector<std::string> fields;
    unsigned int result = 0;
    std::map<std::string, std::string> answers;
};

/// What an operation answers. Without numbers it leaves those alone.
struct Answer {
    /// The name or the numbers, "none" without.
    std::string Text() const {
        std::string text = name;
        for (std::size_t i = 0; i < count; ++i)
            text += (i == 0 ? "" : ",") + std::to_string(numbers[i]);
        return text.empty() ? "none" : text;
    }

    unsigned int result = 0;
    std::string name;
    long numbers[3] = {9, 9, 9};
    std::size_t count = 0;  ///< of the numbers
};

/// What can be done to an instance besides requests, by the name of the operation; what follows a
/// '/' tells operations of one name apart.
template <typename Instance>
using Calls = std::map<std::string, std::function<void(Instance &, const Operation &, Answer &)>>;

/// The message that fields name from one on: "error" and a code, or an application's type and
/// parameter; none without a field.
inline BusMessage MessageOf(const Operation &w, std::size_t at = 0) {
    if (w.fields.size() <= at)
        return {nullptr, gst_message_unref};
    if (w.fields[at] == "error")
        return ErrorMessage(w[at + 1], w.fields.size() > at + 2 ? nullptr : "debug");
    return ApplicationMessage(w[at], w[at + 1]);
}

/// Calls a recorder back with the type, and a message or a sound command.
inline void CallBack(const Operation &w, void *user) {
    const bool isMessage = static_cast<int>(w[0]) < TV_PLAYER_CALLBACK_ASM_COMMAND;
    const BusMessage message = MessageOf(w, isMessage ? 1 : w.fields.size());
    TvStreamAsmSoundCommand command{isMessage ? 0 : static_cast<int>(w[1])};
    Fake().callback(w[0], user, isMessage ? static_cast<void *>(message.get()) : &command);
}

template <typename Instance>
void GetMoxHandle(Instance &instance, const Operation & /*words*/, Answer &a) {
    MOXHandle handle{9, 9};
    a.result = static_cast<unsigned int>(instance.GetMoxHandle(handle));
    std::tie(a.numbers[0], a.numbers[1], a.count) = std::tuple(handle.profileId, handle.subId, 2);
}

template <typename State, typename Instance>
void GetState(Instance &instance, const Operation & /*words*/, Answer &a) {
    State state{};
    a.result = static_cast<unsigned int>(instance.GetState(state));
    std::tie(a.numbers[0], a.count) = std::pair(state, 1);
}

template <typename Instance>
void GetFileName(Instance &instance, const Operation & /*words*/, Answer &a) {
    a.result = static_cast<unsigned int>(instance.GetFileName(a.name));
}

inline const Calls<CMOXPVRRecorder> &RecorderCalls() {
    using Recorder = CMOXPVRRecorder;
    static const Calls<Recorder> calls = {
        {"RecordCB", [](auto &, auto &w, auto &) { CallBack(w, Fake().callbackUser); }},
        {"RecordCB/for-nobody", [](auto &, auto &w, auto &) { CallBack(w, nullptr); }},
        {"AppCB", [](auto &r, auto &w, auto &) { r.AppCB(MessageOf(w).get()); }},
        {"ErrorCB", [](auto &r, auto &w, auto &) { r.ErrorCB(MessageOf(w).get()); }},
        {"AsmCB",
         [](auto &r, auto &w, auto &) {
             TvStreamAsmSoundCommand command{w[0]};
             r.AsmCB(w.fields.empty() ? nullptr : &command);
         }},
        {"DoTvpCallback", [](auto &r, auto &, auto &) { r.DoTvpCallback({}, nullptr, nullptr); }},
        {"GetFileName", GetFileName<Recorder>},
        {"GetMoxHandle", GetMoxHandle<Recorder>},
        {"GetState", GetState<IMOXPVRRecorder::ePvrRecordState, Recorder>},
        {"GetServiceId",
         [](auto &r, auto &, auto &a) {
             unsigned long long service = 9;
             a.result = static_cast<unsigned int>(r.GetServiceId(service));
             std::tie(a.numbers[0], a.count) = std::pair(service, 1);
         }},
        {"GetRecordProgress",
         [](auto &r, auto &, auto &a) {
             a.result = static_cast<unsigned int>(r.GetRecordProgress(a.numbers[0]));
             a.count = 1;
         }},
    };
    return calls;
}

/// Answers the time where it is another afterwards.
inline void DoTvpCallback(CMOXPVRPlayback &playback, const Operation &w, Answer &a) {
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{w[1], w[2], w[3]};
    playback.DoTvpCallback(w[0], &property);
    if (property.timeCode != static_cast<int>(w[2]))
        std::tie(a.numbers[0], a.count) = std::pair(property.timeCode, 1);
}

inline TSVideo Video(const Operation &w) {
    return {{}, w[0], w[1], w[2], 0};
}
inline TSAudio Audio(const Operation &w, std::size_t at) {
    TSAudio audio{};
    audio.pid = w[at];
    audio.codecType = w[at + 1];
    audio.multiSoundMode = MULTI_SOUND_DUAL_MIX;
    return audio;
}

inline void GetPidProperty(CMOXPVRPlayback &playback, const Operation & /*words*/, Answer &a) {
    unsigned int pids[3];
    std::copy_n(a.numbers, 3, pids);
    a.result = playback.GetPidProperty(pids[0], pids[1], pids[2]);
    std::copy_n(pids, a.count = 3, a.numbers);
}

inline const Calls<CMOXPVRPlayback> &PlaybackCalls() {
    using Playback = CMOXPVRPlayback;
    using Property = IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty;
    constexpr Property *kNoRecord = nullptr;
    constexpr GstMessage *kNoMessage = nullptr;
    static const Calls<Playback> calls = {
        {"DoTvpCallback", DoTvpCallback},
        {"DoTvpCallback/without-record",
         [=](auto &p, auto &w, auto &) { p.DoTvpCallback(w[0], kNoRecord); }},
        {"DoTvpCallback/of-the-platform",
         [](auto &p, auto &, auto &) { p.DoTvpCallback({}, nullptr, nullptr); }},
        {"UnmuteCB", [=](auto &p, auto &w, auto &) { p.UnmuteCB(w[0], kNoRecord); }},
        {"UnmuteCB/message", [=](auto &p, auto &w, auto &) { p.UnmuteCB(w[0], kNoMessage); }},
        {"AppCB", [](auto &p, auto &w, auto &) { p.AppCB(MessageOf(w).get()); }},
        {"ErrorCB", [](auto &p, auto &w, auto &) { p.ErrorCB(MessageOf(w).get()); }},
        {"SetPidProperty/pids",
         [](auto &p, auto &w, auto &a) { a.result = p.SetPidProperty(w[0], w[1], w[2]); }},
        {"SetPidProperty/codecs",
         [](auto &p, auto &w, auto &a) {
             a.result = p.SetPidProperty(w[0], w[1], w[2], w[3], w[4]);
         }},
        {"SetPidProperty/streams",
         [](auto &p, auto &w, auto &a) { a.result = p.SetPidProperty(Video(w), Audio(w, 3)); }},
        {"SetPidProperty/choice",
         [](auto &p, auto &w, auto &a) {
             a.result = p.SetPidProperty(Video(w), Audio(w, 3), w[5]);
         }},
        {"IsExceptionAudioChangeCase",
         [](auto &p, auto &w, auto &a) { a.result = p.IsExceptionAudioChangeCase(w[0]); }},
        {"SetPlaybackProperty",
         [](auto &p, auto &w, auto &a) {
             a.result = p.SetPlaybackProperty({w[0], w[1], w[2], w[3], w[4]});
         }},
        {"SetADProperty",
         [](auto &p, auto &w, auto &a) { a.result = p.SetADProperty(Audio(w, 0)); }},
        {"DisableADProperty", [](auto &p, auto &, auto &a) { a.result = p.DisableADProperty(); }},
        {"Reset/audio", [](auto &p, auto &, auto &a) { a.result = p.Reset(true); }},
        {"GetPidProperty", GetPidProperty},
        {"GetFileName", GetFileName<Playback>},
        {"GetMoxHandle", GetMoxHandle<Playback>},
        {"GetState", GetState<IMOXPVRPlayback::ePvrPlaybackState, Playback>},
        {"GetPlaybackProgress",
         [](auto &p, auto &, auto &a) {
             a.result = p.GetPlaybackProgress(a.numbers[0], a.numbers[1]);
             a.count = 2;
         }},
    };
    return calls;
}

#endif
