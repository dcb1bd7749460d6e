// Every operation while memory runs out and while the platform fails.
#include <gmock/gmock.h>

#include <iterator>
#include <regex>
#include <sstream>

#include "AllocationFailure.h"
#include "BusMessages.h"
#include "InstanceTest.h"
#include "MoxPvrAPI.h"
#include "Scenarios.h"

namespace {

constexpr MOXHandle kPlaybackKey{PROFILE_TYPE_MAIN, 0};
constexpr MOXHandle kRecorderKey{PROFILE_TYPE_RECORD, 0};
const std::string kFile = "/recordings/too-long-for-a-small-string.srf";

/// What operations answer besides their result.
struct Output {
    char reply[64] = {};
    long times[2] = {};
    unsigned int pids[3] = {};
    std::string name;
    MOXHandle handle;
    unsigned long long service = 0;
    IMOXPVRRecorder::ePvrRecordState recorder{};
    IMOXPVRPlayback::ePvrPlaybackState playback{};
    IMOXPVRPlayback::eRecordedFileType type{};
    std::string uri = kFile;  // handed over by value: no copy while memory runs out
};
Output g_out;

void ForgetOutput() {
    g_out = Output();
    g_out.name.shrink_to_fit();  // so that the next name needs memory
}

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

long CallRecorder(TVCallbackType type) {
    static TvStreamAsmSoundCommand command{2};
    static const BusMessage message = ApplicationMessage(4);
    const bool isCommand = type == TV_PLAYER_CALLBACK_ASM_COMMAND;
    Fake().callback(type, Fake().callbackUser,
                    isCommand ? static_cast<void *>(&command) : message.get());
    return 0;
}
long CallPlayback(TVCallbackType type, int subEvent = 0, int timeCode = 0, int error = 0) {
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{subEvent, timeCode, error};
    Playback()->DoTvpCallback(type, &property);
    return 0;
}

TSAudio Audio(std::uint16_t pid) {
    TSAudio audio{};
    audio.pid = pid;
    return audio;
}

constexpr IMOXPVRPlayback::MOXPVRPlaybackProperty kProperty{1, 2, 3, 4, 5};
constexpr EAudioSelectionType kByUser = AUDIO_SELECTION_USER;
constexpr TSVideo kVideo{{}, 0x100, VIDEO_ENCODE_MPEG2, 0x102, 0};
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
    {"RecordProgress", [] { return Recorder()->GetRecordProgress(g_out.times[0]); }},
    {"RecorderHandle", [] { return Recorder()->GetMoxHandle(g_out.handle); }},
    {"RecorderHook", [] { return Recorder()->DoTvpCallback({}, nullptr, nullptr), 0; }},
    {"PlaybackHook", [] { return Playback()->DoTvpCallback({}, nullptr, nullptr), 0; }},
    {"ServiceId", [] { return Recorder()->GetServiceId(g_out.service); }},
    {"RecorderState", [] { return Recorder()->GetState(g_out.recorder); }},
    {"SoundCommand", [] { return CallRecorder(TV_PLAYER_CALLBACK_ASM_COMMAND); }},
    {"Message", [] { return CallRecorder(TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION); }},
    {"Pids", [] { return mox_pvr_set_playback_pid_property(nullptr, 0x200, 0x201, 0x202); }},
    {"Codecs", [] { return Playback()->SetPidProperty(0x200, 1, 0x201, 1, 0x202); }},
    {"FirstCodecs", [] { return Playback()->SetPidProperty(0x100, 0, 0x101, 0, 0x102); }},
    {"Streams", [] { return Playback()->SetPidProperty(kVideo, Audio(0x201)); }},
    {"Chosen", [] { return Playback()->SetPidProperty(kVideo, Audio(0x201), kByUser); }},
    {"PlaybackProperty", [] { return Playback()->SetPlaybackProperty(kProperty); }},
    {"Description", [] { return Playback()->SetADProperty(Audio(0x110)); }},
    {"NoDescription", [] { return Playback()->DisableADProperty(); }},
    {"ChannelPids", [p = g_out.pids] { return Playback()->GetPidProperty(p[0], p[1], p[2]); }},
    {"FilePids",
     [p = g_out.pids] {
         return Playback()->GetPidPropertyByUri(std::move(g_out.uri), p[0], p[1], p[2]);
     }},
    {"FileType", [] { return Playback()->GetFileType(g_out.type); }},
    {"PlaybackFileName", [] { return Playback()->GetFileName(g_out.name); }},
    {"Progress", [] { return Playback()->GetPlaybackProgress(g_out.times[0], g_out.times[1]); }},
    {"PlaybackHandle", [] { return Playback()->GetMoxHandle(g_out.handle); }},
    {"PlaybackState", [] { return Playback()->GetState(g_out.playback); }},
    {"Unmute", [] { return CallPlayback(TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE); }},
    {"Application", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 1); }},
    {"Cross4000", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 3, 4000); }},
    {"Cross9000", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, 3, 9000); }},
    {"Error", [] { return CallPlayback(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR, 0, 0, 1); }},
};

/// @return a step that allocates nothing itself when it is run
std::function<long()> Step(const std::string &step) {
    const auto call = kCalls.find(step);
    if (call != kCalls.end())
        return call->second;
    const bool toRecorder = step[0] == 'R';
    const auto control = toRecorder ? mox_pvr_control_recording : mox_pvr_control_playback;
    std::string text = RequestOf(toRecorder ? Side::Recorder : Side::Playback,
                                 std::regex_replace(step.substr(2), std::regex("FILE"), kFile));
    return [control, text]() mutable {
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
    {"recorder", "RecorderState", "m_eRecordState["}, {"pids", "R UpdateSi 0", "pid ["},
    {"si", "R UpdateSi 3 0x120 0x121 0x122", "49="},  {"type", "R Start", "c0["},
};
constexpr Question kPlaybackQuestions[] = {
    {"recording", "PlaybackFileName", "fileName["},
    {"playback", "PlaybackState", "m_ePlaybackState["},
    {"descrambled", "P AllPidDescrambled", "log 16 AllPidDescrambled(MoxPvrPlayback): "},
    {"", "Described", "nothing"},
    {"ad", "Description", "134="},
    {"unprogrammed", "FirstCodecs", "tv_stream_set_property(stream, "},
    {"", "Cross9000", "nothing"},
    {"recovery", "Unmute", "tv_player_set_position(player, "},
};

using State = std::map<std::string, std::string>;

/// Asks for all that can be seen of one kind of instance. This changes the instance.
template <typename Questions>
void Ask(const Questions &questions, bool isThere, State &state) {
    for (const auto &[subject, step, marker] : questions) {
        std::string &value = state[subject];
        if (!isThere)
            continue;
        Fake().All();
        Step(step)();
        const std::string journal = Fake().All();
        for (std::size_t at = 0; (at = journal.find(marker, at)) != std::string::npos;) {
            at += std::strlen(marker);
            value += value.empty() ? "" : " ";
            value += journal.substr(at, journal.find_first_of(")]\n", at) - at);
        }
    }
}

State Observe() {
    State state{{"reply", g_out.reply}, {"name", g_out.name}};
    const auto &[times, pids] = std::tie(g_out.times, g_out.pids);
    state["out"] = Format("%ld %ld %u %u %u", times[0], times[1], pids[0], pids[1], pids[2]);
    Fake().failing = 0;
    Ask(kRecorderQuestions, Recorder() != nullptr, state);
    Ask(kPlaybackQuestions, Playback() != nullptr, state);
    return state;
}

/// @return the subjects that differ, with what they have become: " subject=value subject=value"
std::string Changes(const State &before, const State &after) {
    std::string changes;
    for (const auto &[subject, value] : after) {
        if (value != before.at(subject))
            changes += ' ' + subject + '=' + (value == kFile ? "FILE" : value);
    }
    return changes;
}

// --- The tests -----------------------------------------------------------------------------------

/// One block of the table.
struct Operation {
    std::string name;
    std::vector<std::string> steps;
    std::vector<std::string> outcomes;
    std::vector<std::string> starved;
    std::vector<std::string> partial{""};  ///< changes that a lack of memory may leave
};

std::vector<std::string> Words(const std::string &text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

void ForEachOperation(const std::function<void(const Operation &)> &test) {
    for (const Scenario &scenario : LoadScenarios(OPERATIONS)) {
        Operation operation{scenario.name, {}, {}, {}};
        for (const std::string &line : scenario.lines) {
            const std::string kind = line.substr(0, line.find(' '));
            if (kind == ">")
                operation.steps.push_back(line.substr(2));
            else if (kind == "memory")
                operation.starved = Words(line.substr(7));
            else if (kind == "partly")
                operation.partial.push_back(line.substr(6));
            else if (!kind.empty() && kind[0] != '#')
                operation.outcomes.push_back(line);
        }
        SCOPED_TRACE(operation.name);
        test(operation);
    }
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
        ForgetOutput();
        Fake().All();
    }
    ~Session() {
        DestroyAll();
        ForgetOutput();
    }

    std::function<long()> run;
};

State StateBefore(const Operation &operation) {
    const Session session(operation);
    return Observe();
}

/// Runs an operation with each of its platform calls failing in turn; first with none.
std::vector<std::string> Outcomes(const Operation &operation) {
    const State before = StateBefore(operation);
    std::vector<std::string> outcomes;
    std::string usual;
    for (int failing = 0; true; ++failing) {
        Session session(operation);
        Fake().failing = failing;
        const std::string result = std::to_string(session.run());
        const std::string call = Fake().failed;
        const std::string changes = Changes(before, Observe());
        if (failing == 0) {
            outcomes.push_back(result + changes);
            usual = changes.empty() ? "none" : changes;
            continue;
        }
        if (call.empty())
            return outcomes;
        const auto prefix = call.rfind("tv_", 0) == 0 ? call.find('_', 3) + 1 : 0;
        outcomes.push_back(call.substr(prefix) + ' ' + result +
                           (changes == usual ? " =" : changes));
    }
}

TEST(FailureTest, PlatformFailuresGiveTheStatedResultAndState) {
    std::size_t failures = 0;
    ForEachOperation([&](const Operation &operation) {
        const std::vector<std::string> outcomes = Outcomes(operation);
        EXPECT_EQ(outcomes, operation.outcomes);
        failures += outcomes.size() - 1;
    });
    std::printf("%zu platform calls failed\n", failures);
    EXPECT_GT(failures, 0U);
}

/// @return number of priority-16 lines that tell of an allocation
int FailureLines(const std::string &logs) {
    int lines = 0;
    std::istringstream stream(logs);
    for (std::string line; std::getline(stream, line);)
        if (g_pattern_match_simple("log 16 *out of memory*", line.c_str()) ||
            g_pattern_match_simple("log 16 *new*failed*", line.c_str()))
            ++lines;
    return lines;
}

/// Runs an operation with some of its allocations failing.
/// @return "result/failure lines"; nothing when there was none to fail
std::string Starve(const Operation &operation, int first, int last) {
    const State before = StateBefore(operation);
    Session session(operation);
    t_allocationFailure = {first, last};
    const long result = session.run();
    t_allocationFailure.first = 0;
    if (t_allocationFailure.injected == 0)
        return "";
    const std::string logs = Fake().Logs();
    EXPECT_THAT(operation.partial, testing::Contains(Changes(before, Observe())));
    return Format("%ld/%d", result, FailureLines(logs));
}

TEST(FailureTest, LackOfMemoryLeavesEveryOperationWithItsResultAndAWholeState) {
    int failures = 0;
    ForEachOperation([&](const Operation &operation) {
        for (const int count : {1, 1000}) {
            std::vector<std::string> starved;
            std::string outcome;
            for (int first = 1; !(outcome = Starve(operation, first, first + count - 1)).empty();
                 ++first) {
                starved.push_back(outcome);
                failures += t_allocationFailure.injected;
                EXPECT_THAT(t_allocationFailure.live, testing::Each(nullptr));
            }
            EXPECT_EQ(starved, operation.starved);
        }
    });
    std::printf("%d allocations failed\n", failures);
    EXPECT_GT(failures, 0);
}

}  // namespace
