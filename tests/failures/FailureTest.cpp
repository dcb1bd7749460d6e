// Every operation while memory runs out and while the platform fails.
#include <gmock/gmock.h>
#include <gst/gst.h>

#include <fstream>

#include "AllocationFailure.h"
#include "InstanceTest.h"
#include "MoxPvrAPI.h"

namespace {

constexpr MOXHandle kPlaybackKey{PROFILE_TYPE_MAIN, 0};
constexpr MOXHandle kRecorderKey{PROFILE_TYPE_RECORD, 0};
const std::string kFile = "/recordings/too-long-for-a-small-string.srf";

/// What operations answer besides their result.
struct Output {
    char reply[64] = {};
    long position = 0;
    long duration = 0;
    unsigned int video = 0;
    unsigned int audio = 0;
    unsigned int pcr = 0;
    std::string name;
    MOXHandle handle;
    unsigned long long service = 0;
    IMOXPVRRecorder::ePvrRecordState recorder{};
    IMOXPVRPlayback::ePvrPlaybackState playback{};
    IMOXPVRPlayback::eRecordedFileType type{};
    std::string uri = kFile;  // handed over by value, so not copied while memory runs out
};
Output g_out;

IMOXPVRRecorder *Recorder() {
    return MoxPvrAPI::GetRecorderInstance(kRecorderKey);
}
IMOXPVRPlayback *Playback() {
    return MoxPvrAPI::GetPlaybackInstance(kPlaybackKey);
}

long DestroyAll() {
    MoxPvrAPI::DestroyPlayback(kPlaybackKey);
    MoxPvrAPI::DestroyRecorder(kRecorderKey);
    delete CMOXPVRPlaybackMgr::GetInstance();
    delete CMOXPVRRecorderMgr::GetInstance();
    return 0;
}

long CallRecorder(TVCallbackType type, void *message) {
    Fake().callback(type, Fake().callbackUser, message);
    return 0;
}
long CallPlayback(TVCallbackType type, int subEvent = 0, int timeCode = 0, int error = 0) {
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{subEvent, timeCode, error};
    Playback()->DoTvpCallback(type, &property);
    return 0;
}

GstMessage *RecorderMessage() {
    gst_init(nullptr, nullptr);
    return gst_message_new_application(
        nullptr, gst_structure_new("pvr", "app_type", G_TYPE_INT, 4, nullptr));
}

TSAudio Audio(std::uint16_t pid) {
    TSAudio audio{};
    audio.pid = pid;
    return audio;
}

const TSVideo kVideo{{}, 0x100, VIDEO_ENCODE_MPEG2, 0x102, 0};
const std::map<std::string, std::function<long()>> kCalls = {
    {"Gone", DestroyAll},
    {"NoChannels", [] { return Fake().channels.clear(), 0; }},
    {"3dChannel", [] { return Fake().channels[0].korean3d = 1; }},
    {"Described", [] { return Fake().results["tv_stream_is_audio_description_enabled"] = 1; }},
    {"RegisterRecorder", [] { return mox_pvr_set_recorder_handle(kRecorder); }},
    {"RegisterPlayback", [] { return mox_pvr_set_tv_stream(kStream); }},
    {"FindRecorder", [] { return Recorder() == nullptr; }},
    {"FindPlayback", [] { return Playback() == nullptr; }},
    {"DestroyRecorder", [] { return MoxPvrAPI::DestroyRecorder(kRecorderKey); }},
    {"DestroyPlayback", [] { return MoxPvrAPI::DestroyPlayback(kPlaybackKey); }},
    {"RecorderFileName", [] { return Recorder()->GetFileName(g_out.name); }},
    {"RecordProgress", [] { return Recorder()->GetRecordProgress(g_out.position); }},
    {"RecorderHandle", [] { return Recorder()->GetMoxHandle(g_out.handle); }},
    {"RecorderHook", [] { return Recorder()->DoTvpCallback({}, nullptr, nullptr), 0; }},
    {"PlaybackHook", [] { return Playback()->DoTvpCallback({}, nullptr, nullptr), 0; }},
    {"ServiceId", [] { return Recorder()->GetServiceId(g_out.service); }},
    {"RecorderState", [] { return Recorder()->GetState(g_out.recorder); }},
    {"SoundCommand",
     [command = TvStreamAsmSoundCommand{2}]() mutable {
         return CallRecorder(TV_PLAYER_CALLBACK_ASM_COMMAND, &command);
     }},
    {"RecorderMessage",
     [message = RecorderMessage()] {
         return CallRecorder(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION, message);
     }},
    {"Pids", [] { return mox_pvr_set_playback_pid_property(nullptr, 0x200, 0x201, 0x202); }},
    {"Codecs", [] { return Playback()->SetPidProperty(0x200, 1, 0x201, 1, 0x202); }},
    {"FirstCodecs", [] { return Playback()->SetPidProperty(0x100, 0, 0x101, 0, 0x102); }},
    {"Streams", [] { return Playback()->SetPidProperty(kVideo, Audio(0x201)); }},
    {"Chosen",
     [] { return Playback()->SetPidProperty(kVideo, Audio(0x201), AUDIO_SELECTION_USER); }},
    {"PlaybackProperty",
     [] {
         return Playback()->SetPlaybackProperty({1, 2, 3, 4, 5});
     }},
    {"Description", [] { return Playback()->SetADProperty(Audio(0x110)); }},
    {"NoDescription", [] { return Playback()->DisableADProperty(); }},
    {"ChannelPids", [] { return Playback()->GetPidProperty(g_out.video, g_out.audio, g_out.pcr); }},
    {"FilePids",
     [] {
         return Playback()->GetPidPropertyByUri(std::move(g_out.uri), g_out.video, g_out.audio,
                                                g_out.pcr);
     }},
    {"FileType", [] { return Playback()->GetFileType(g_out.type); }},
    {"PlaybackFileName", [] { return Playback()->GetFileName(g_out.name); }},
    {"Progress", [] { return Playback()->GetPlaybackProgress(g_out.position, g_out.duration); }},
    {"PlaybackHandle", [] { return Playback()->GetMoxHandle(g_out.handle); }},
    {"PlaybackState", [] { return Playback()->GetState(g_out.playback); }},
    {"Unmute", [] { return CallPlayback(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE); }},
    {"Application", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 1); }},
    {"Cross4000", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 3, 4000); }},
    {"Cross9000", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 3, 9000); }},
    {"Error", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR, 0, 0, 1); }},
};

/// @return the parts between separators, without the blanks around them
std::vector<std::string> Split(const std::string &text, char separator) {
    std::vector<std::string> parts;
    std::istringstream input(text);
    for (std::string part; std::getline(input, part, separator);) {
        const auto begin = part.find_first_not_of(' ');
        if (begin != std::string::npos)
            parts.push_back(part.substr(begin, part.find_last_not_of(' ') + 1 - begin));
    }
    return parts;
}

Request RequestOf(const std::vector<std::string> &words) {
    Request request(static_cast<unsigned int>(std::stoul(words[1])));
    for (std::size_t i = 2; i < words.size(); ++i) {
        if (words[i] == "FILE")
            request.Name(kFile);
        else if (words[i].find('.') != std::string::npos)
            request.F64(std::stod(words[i]));
        else
            request.U32(static_cast<unsigned int>(std::stoul(words[i], nullptr, 0)));
    }
    return request;
}

/// @return a step that allocates nothing itself when it is run
std::function<long()> Step(const std::string &step) {
    const auto call = kCalls.find(step);
    if (call != kCalls.end())
        return call->second;
    const auto control = step[0] == 'R' ? mox_pvr_control_recording : mox_pvr_control_playback;
    return [control, text = RequestOf(Split(step, ' ')).text()]() mutable {
        unsigned int replySize = 0;
        return control(static_cast<unsigned int>(text.size()),
                       reinterpret_cast<unsigned char *>(text.data()), replySize,
                       reinterpret_cast<unsigned char *>(g_out.reply));
    };
}

// --- What can be seen of the instances -----------------------------------------------------------

/// What a step's journal tells of a subject: what stands behind the marker.
struct Question {
    const char *subject;
    const char *step;
    const char *marker;
};
constexpr Question kRecorderQuestions[] = {
    {"sink", "RecorderFileName", "fileName["},        {"service", "ServiceId", "ullServiceId["},
    {"recorder", "RecorderState", "m_eRecordState["}, {"pids", "R 12 0", "pid ["},
    {"si", "R 12 3 0x120 0x121 0x122", "49="},        {"type", "R 6", "c0["},
};
constexpr Question kPlaybackQuestions[] = {
    {"recording", "PlaybackFileName", "fileName["},
    {"playback", "PlaybackState", "m_ePlaybackState["},
    {"descrambled", "P 13", "log 16 AllPidDescrambled(MoxPvrPlayback): "},
    {"", "Described", "nothing"},
    {"ad", "Description", "134="},
    {"unprogrammed", "FirstCodecs", "tv_stream_set_property(stream, "},
    {"", "Cross9000", "nothing"},
    {"recovery", "Unmute", "tv_player_set_position(player, "},
};

using State = std::map<std::string, std::string>;

template <typename Questions>
void Ask(const Questions &questions, State &state) {
    for (const Question &question : questions) {
        const std::string marker = question.marker;
        Fake().All();
        Step(question.step)();
        const std::string journal = Fake().All();
        std::string &value = state[question.subject];
        for (auto at = journal.find(marker); at != std::string::npos;
             at = journal.find(marker, at + 1)) {
            const auto begin = at + marker.size();
            value += value.empty() ? "" : " ";
            value += journal.substr(begin, journal.find_first_of(")]\n", begin) - begin);
        }
    }
}

/// Asks for all that can be seen. This changes the instances.
State Observe() {
    State state{{"reply", g_out.reply}, {"name", g_out.name}};
    state["out"] = Format("%ld %ld %u %u %u", g_out.position, g_out.duration, g_out.video,
                          g_out.audio, g_out.pcr);
    Fake().failing = 0;
    if (Recorder() != nullptr)
        Ask(kRecorderQuestions, state);
    if (Playback() != nullptr)
        Ask(kPlaybackQuestions, state);
    return state;
}

/// @return the subjects that differ, with what they have become: " subject=value subject=value"
std::string Changes(const State &before, State after) {
    std::string changes;
    for (const auto &[subject, value] : before)
        after.emplace(subject, "");
    for (const auto &[subject, value] : after) {
        const auto old = before.find(subject);
        if (value != (old == before.end() ? "" : old->second))
            changes += ' ' + subject + '=' + (value == kFile ? "FILE" : value);
    }
    return changes;
}

// --- The tests -----------------------------------------------------------------------------------

struct Operation {
    std::string name;
    std::vector<std::string> steps;
    std::vector<std::string> outcomes;
    std::vector<std::string> starved;
    std::vector<std::string> partial;
};

std::vector<Operation> Operations() {
    std::vector<Operation> operations;
    std::ifstream file(OPERATIONS);
    for (std::string line; std::getline(file, line);) {
        const std::vector<std::string> columns = Split(line, '|');
        if (columns.size() < 3 || line[0] == '#')
            continue;
        Operation operation{line, Split(columns[1], ';'), {}, {}, {}};
        for (std::size_t i = 2; i < columns.size(); ++i) {
            if (columns[i].rfind("memory ", 0) == 0)
                operation.starved = Split(columns[i].substr(7), ' ');
            else if (columns[i].rfind("step ", 0) == 0)
                operation.partial.push_back(columns[i].substr(4));
            else
                operation.outcomes.push_back(columns[i]);
        }
        operations.push_back(operation);
    }
    return operations;
}

/// Both instances on a fresh platform, ready for an operation.
struct Session {
    explicit Session(const Operation &operation) {
        Fake().Reset();
        Fake().channels = {{0, Channel(0x100, 0x101, 0x102)}, {4000, Channel(0x200, 0x201, 0x202)}};
        Fake().position = 5;
        Fake().duration = 7;
        Fake().timeshiftDuration = 9;
        mox_pvr_set_tv_player(kPlayer);
        mox_pvr_set_tv_stream(kStream);
        mox_pvr_set_recorder_handle(kRecorder);
        for (const std::string &step : operation.steps) {
            if (run != nullptr)
                run();
            run = Step(step);
        }
        g_out = Output();
        Fake().All();
    }
    ~Session() {
        DestroyAll();
        g_out = Output();
    }

    std::function<long()> run;
};

/// What an operation comes to while one of its platform calls fails, 0 none.
struct Outcome {
    Outcome(const Operation &operation, int failing) {
        State before;
        {
            const Session idle(operation);
            before = Observe();
        }
        Session session(operation);
        Fake().failing = failing;
        result = session.run();
        call = Fake().failed;
        state = Observe();
        changes = Changes(before, state);
    }

    /// As the table has it.
    std::string Text(const Outcome &success) const {
        const auto prefix = call.rfind("tv_", 0) == 0 ? call.find('_', 3) + 1 : 0;
        const bool same = !call.empty() && !changes.empty() && changes == success.changes;
        return (call.empty() ? "" : call.substr(prefix) + ' ') + std::to_string(result) +
               (same ? " =" : changes);
    }

    long result;
    std::string call;
    State state;
    std::string changes;
};

TEST(PlatformFailureTest, GivesTheStatedResultAndState) {
    int failures = 0;
    for (const Operation &operation : Operations()) {
        SCOPED_TRACE(operation.name);
        const Outcome success(operation, 0);
        std::vector<std::string> outcomes{success.Text(success)};
        for (int failing = 1;; ++failing) {
            const Outcome outcome(operation, failing);
            if (outcome.call.empty())
                break;
            outcomes.push_back(outcome.Text(success));
            ++failures;
        }
        EXPECT_EQ(outcomes, operation.outcomes);
    }
    std::printf("%d platform calls failed\n", failures);
    EXPECT_GT(failures, 0);
}

/// @return number of priority-16 lines that tell of an allocation
long FailureLines(const std::string &logs) {
    const std::vector<std::string> lines = Split(logs, '\n');
    return std::count_if(lines.begin(), lines.end(), [](const std::string &line) {
        return line.rfind("log 16 ", 0) == 0 &&
               (line.find("out of memory") != std::string::npos ||
                line.find("new(std::nothrow)") != std::string::npos ||
                line.find("new CMOXPVRRecorder failed") != std::string::npos);
    });
}

/// Runs an operation while its allocation number `first` fails, and checks what that leaves.
/// @return number of allocations that failed
int Starve(const Operation &operation, int first, Failing mode) {
    const Outcome success(operation, 0);
    State before;
    {
        const Session idle(operation);
        before = Observe();
    }
    for (const bool isRepeated : {false, true}) {
        Session session(operation);
        long result = 0;
        {
            const AllocationFailure failure(first, mode);
            result = session.run();
        }
        if (AllocationFailure::Injected() == 0)
            return 0;
        const auto index = static_cast<std::size_t>(first) - 1;
        EXPECT_EQ(Format("%ld/%ld", result, FailureLines(Fake().Logs())),
                  operation.starved.empty() ? "1/1" : operation.starved.at(index));
        if (isRepeated) {
            EXPECT_EQ(session.run(), success.result);
            EXPECT_EQ(Observe(), success.state);
        } else {
            std::vector<std::string> allowed = operation.partial;
            allowed.insert(allowed.end(), {"", success.changes});
            EXPECT_THAT(allowed, testing::Contains(Changes(before, Observe())));
        }
    }
    EXPECT_EQ(AllocationFailure::LiveBlocks(), 0);
    return AllocationFailure::Injected();
}

TEST(AllocationFailureTest, LeavesEveryOperationWithItsResultAndAWholeState) {
    int failures = 0;
    for (const Operation &operation : Operations()) {
        SCOPED_TRACE(operation.name);
        for (const Failing mode : {Failing::Once, Failing::FromThenOn}) {
            int failed = 0;
            for (int first = 1; (failed = Starve(operation, first, mode)) > 0; ++first)
                failures += failed;
        }
    }
    std::printf("%d allocations failed\n", failures);
    EXPECT_GT(failures, 0);
}

}  // namespace
