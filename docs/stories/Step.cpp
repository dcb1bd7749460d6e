#include "Step.h"

#include <gst/gst.h>
#include <tv_stream.h>

#include <cstring>
#include <thread>

#include "FakePlatform.h"
#include "MoxPvr.h"
#include "MoxPvrAPI.h"
#include "StoryRecord.h"

namespace recorder = moxpvr::recorder;
namespace playback = moxpvr::playback;

namespace {

// What a service has: its platform objects, and the instances that it looked up.
void *const tvRecorder = kRecorder;
void *const tvPlayer = kPlayer;
void *const tvStream = kStream;
IMOXPVRPlayback *player = nullptr;
IMOXPVRRecorder *recording = nullptr;
IMOXPVRRecorder::ePvrRecordState state{};

/// @throw std::runtime_error  when a step comes before what it needs
template <typename Pointer>
Pointer Given(Pointer pointer, const char *name) {
    if (pointer == nullptr)
        throw std::runtime_error(std::string("there is no ") + name + " yet");
    return pointer;
}

// --- Calls ---------------------------------------------------------------------------------------

std::string Answer(unsigned int result) {
    return Format("Answer: %u.", result);
}
std::string Answer(int result) {
    return Format("Answer: %d.", result);
}
std::string Answer(const void *instance) {
    return instance != nullptr ? "" : "Answer: null.";
}

struct Call {
    Call(const char *written, std::string (*made)()) : code(written), run(made) {}

    const char *code;
    std::string (*run)();
};

/// A call as it is written and as it is made.
#define CALL(...) Call(#__VA_ARGS__, [] { return Answer(__VA_ARGS__); })

const Call kCalls[] = {
    CALL(mox_pvr_set_recorder_handle(tvRecorder)),
    CALL(mox_pvr_set_tv_player(tvPlayer)),
    CALL(mox_pvr_set_tv_stream(tvStream)),
    CALL(recording = MoxPvrAPI::GetRecorderInstance(MOXHandle{PROFILE_TYPE_RECORD, 0})),
    CALL(player = MoxPvrAPI::GetPlaybackInstance(MOXHandle{PROFILE_TYPE_MAIN, 0})),
    CALL(recording->GetState(state)),
    CALL(MoxPvrAPI::DestroyRecorder(MOXHandle{PROFILE_TYPE_RECORD, 0})),
    CALL(MoxPvrAPI::DestroyPlayback(MOXHandle{PROFILE_TYPE_MAIN, 0})),
    CALL(tv_stream_set_property(tvStream, TV_PROPERTY_AUDIO_SINK_MUTE, 0, 0)),
};

#undef CALL

Step MakeCall(const std::string &line) {
    for (const Call &call : kCalls) {
        if (line == call.code)
            return {line + ";\n", "", "", "", call.run(), ""};
    }
    throw std::runtime_error("no such step: " + line);
}

// --- Requests ------------------------------------------------------------------------------------

using Control = unsigned int (*)(unsigned int, unsigned char *, unsigned int &, unsigned char *);

/// One of the two kinds of instance, as requests address it.
struct Side {
    const char *name;
    const char *entryPoint;
    Control control;
};

constexpr Side kRecorderSide{"recorder", "mox_pvr_control_recording", mox_pvr_control_recording};
constexpr Side kPlaybackSide{"playback", "mox_pvr_control_playback", mox_pvr_control_playback};

/// @return what the fields of a request belong to in C++
const char *OwnerOfFields(const recorder::SetSinkProperty & /*request*/) {
    return "request.sink";
}
const char *OwnerOfFields(const recorder::SwapTS2Record & /*request*/) {
    return "request.sink";
}
template <typename Request>
const char *OwnerOfFields(const Request & /*request*/) {
    return "request";
}

template <typename Request>
Step SendRequest(const Side &side, Request request, Words &words, std::string &reply) {
    Step step;
    FillIn fillIn(words, OwnerOfFields(request));
    Request::Fields(request, fillIn);
    words.End();
    const std::string type = std::string(side.name) + "::" + request.Name();
    step.code = fillIn.code().empty()
                    ? "moxpvr::RequestText text(" + type + "{});\n"
                    : type + " request;\n" + fillIn.code() + "moxpvr::RequestText text(request);\n";
    step.code += side.entryPoint + std::string("(text.size(), text.data(), replySize, reply);\n");

    moxpvr::RequestText text(request);
    unsigned char buffer[64] = {};
    unsigned int replySize = 0;
    const unsigned int result = side.control(text.size(), text.data(), replySize, buffer);
    step.request = text.text();
    reply.assign(reinterpret_cast<char *>(buffer), replySize);

    step.what = Format("Command %u `%s`, %u characters of request text:",
                       static_cast<unsigned int>(request.Number()), request.Name(), text.size());
    step.fields = TableOf(request);
    step.answer = Answer(result);
    return step;
}

/// Decodes a reply, when it answers the command of this name.
template <typename Reply>
void AddReply(Reply reply, const std::string &command, const std::string &text, Step &step) {
    const auto *digits = reinterpret_cast<const unsigned char *>(text.data());
    if (text.empty() || command != reply.Name())
        return;
    if (!moxpvr::DecodeText(digits, text.size(), reply))
        throw std::runtime_error("cannot read the reply " + text);
    step.answer += " Reply: `" + text + "`";
    step.reply = TableOf(reply);
}

Step Request(const Side &side, const std::string &command, Words &words) {
    Step step;
    std::string reply;
    const auto send = [&](const auto &request) {
        if (command == request.Name())
            step = SendRequest(side, request, words, reply);
    };
    const auto decode = [&](const auto &record) { AddReply(record, command, reply, step); };
    if (side.control == kRecorderSide.control) {
        recorder::ForEachRequest(send);
        recorder::ForEachReply(decode);
    } else {
        playback::ForEachRequest(send);
        playback::ForEachReply(decode);
    }
    return step.code.empty() ? throw std::runtime_error("no such command: " + command) : step;
}

// --- Callbacks -----------------------------------------------------------------------------------

struct NamedType {
    const char *name;
    TVCallbackType type;
};

#define TYPE(name) \
    { #name, name }

constexpr NamedType kCallbackTypes[] = {
    TYPE(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE),
    TYPE(TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK),
    TYPE(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION),
    TYPE(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR),
    TYPE(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION),
    TYPE(TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR),
};

#undef TYPE

TVCallbackType TypeOf(const std::string &name) {
    for (const NamedType &row : kCallbackTypes) {
        if (name == row.name)
            return row.type;
    }
    throw std::runtime_error("no such callback: " + name);
}

/// The service hands a callback of its player on.
Step PlayerCallback(const std::string &type, Words &words) {
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{};
    FillIn fillIn(words, "property");
    fillIn({0, "SubEventType", moxpvr::Meaning::Number}, property.SubEventType);
    fillIn({4, "timeCode", moxpvr::Meaning::Time}, property.timeCode);
    fillIn({8, "errCode", moxpvr::Meaning::Number}, property.errCode);
    words.End();
    const int timeCode = property.timeCode;
    Given(player, "player")->DoTvpCallback(TypeOf(type), &property);
    Step step;
    step.code = "IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{};\n" + fillIn.code() +
                "player->DoTvpCallback(" + type + ", &property);\n";
    if (property.timeCode != timeCode)
        step.answer = Format("`property.timeCode` is now %d.", property.timeCode);
    return step;
}

/// @param what  out: the message in words
/// @return      as a recorder's pipeline posts it
GstMessage *RecorderMessage(TVCallbackType type, Words &words, std::string &what) {
    if (type == TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR) {
        const int code = std::stoi(words.Take("code").value());
        what = Format("an error message with code %d", code);
        GError *error = g_error_new_literal(GST_RESOURCE_ERROR, code, "cannot write");
        GstMessage *message = gst_message_new_error(nullptr, error, "debug text");
        g_error_free(error);
        return message;
    }
    const int number = std::stoi(words.Take("app_type").value());
    const int parameter = std::stoi(words.Take("app_param").value());
    what = Format("a message with `app_type` %d and `app_param` %d", number, parameter);
    return gst_message_new_application(
        nullptr, gst_structure_new("application", "app_type", G_TYPE_INT, number, "app_param",
                                   G_TYPE_INT, parameter, nullptr));
}

/// The platform recorder calls the library, on a thread of its own.
Step RecorderCallback(const std::string &name, Words &words) {
    const TVCallbackType type = TypeOf(name);
    const tv_recorder_callback callback = Given(Fake().callback, "recorder");
    std::string what;
    GstMessage *message = RecorderMessage(type, words, what);
    std::thread(callback, type, Fake().callbackUser, message).join();
    gst_message_unref(message);
    words.End();
    Step step;
    step.what = "The platform recorder calls back, on its own thread: `" + name +
                Format("` (%d), ", type) + what + '.';
    return step;
}

}  // namespace

Step Perform(const std::string &line) {
    if (line.find('(') != std::string::npos)
        return MakeCall(line);
    std::istringstream input(line);
    std::string name;
    input >> name;
    const auto dot = name.find('.');
    std::string type = dot == std::string::npos ? "" : name.substr(dot + 1);
    if (type.empty())
        input >> type;
    Words words(input);
    if (dot != std::string::npos)
        return Request(name.substr(0, dot) == kRecorderSide.name ? kRecorderSide : kPlaybackSide,
                       type, words);
    return name == "player" ? PlayerCallback(type, words) : RecorderCallback(type, words);
}

// --- The platform --------------------------------------------------------------------------------

namespace {

/// The platform keeps channel information as SetChannelInfoProperty brings it.
TvChannelInfo ChannelInfo(Words &words, std::string &text) {
    recorder::SetChannelInfoProperty request;
    FillIn fillIn(words, "");
    request.Fields(request, fillIn);
    words.End();
    text = TableOf(request);
    const auto bytes = moxpvr::EncodeBytes(request);
    TvChannelInfo info{};
    std::memcpy(&info, bytes.data() + request.PlatformRecord(), sizeof info);
    return info;
}

}  // namespace

std::string SetPlatform(const std::string &line) {
    std::istringstream input(line);
    std::string name;
    int first = 0;
    input >> name >> first;
    if (name == "channel") {
        const std::string shown = line.substr(static_cast<std::size_t>(input.tellg()) + 1);
        std::string table;
        Words words(input);
        Fake().channels[first] = ChannelInfo(words, table);
        return Format("from %d on, the recording holds the channel information `", first) + shown +
               "`";
    }
    if (name == "position") {
        Fake().position = first;
        input >> Fake().duration;
        return Format("position %lld of %lld", Fake().position, Fake().duration);
    }
    if (name != "timeshift-duration")
        throw std::runtime_error("no such platform line: " + line);
    Fake().timeshiftDuration = static_cast<unsigned int>(first);
    return Format("timeshift duration %d", first);
}
