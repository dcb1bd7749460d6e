// Every operation while memory runs out and while the platform fails.
#include <gmock/gmock.h>

#include <iterator>
#include <regex>
#include <sstream>

#include "AllocationFailure.h"
#include "InstanceCalls.h"
#include "MoxPvrAPI.h"
#include "Scenarios.h"

namespace {

constexpr MOXHandle kPlaybackKey{PROFILE_TYPE_MAIN, 0};
constexpr MOXHandle kRecorderKey{PROFILE_TYPE_RECORD, 0};
const std::string kFile = "/recordings/too-long-for-a-small-string.srf";

Answer g_answer;
char g_reply[64];
std::string g_uri;  // handed over by value: no copy while memory runs out

void ForgetAnswers() {
    g_answer = {0, {}, {}, 0};
    g_answer.name.shrink_to_fit();  // so that the next name needs memory
    std::memset(g_reply, 0, sizeof g_reply);
    g_uri = kFile;
}

CMOXPVRRecorder *Recorder() {
    return CMOXPVRRecorderMgr::GetInstance()->GetRecorderInstance(kRecorderKey);
}
CMOXPVRPlayback *Playback() {
    return CMOXPVRPlaybackMgr::GetInstance()->GetPlaybackInstance(kPlaybackKey);
}

long DestroyAll() {
    MoxPvrAPI::DestroyPlayback(kPlaybackKey);
    MoxPvrAPI::DestroyRecorder(kRecorderKey);
    delete CMOXPVRPlaybackMgr::GetInstance();
    delete CMOXPVRRecorderMgr::GetInstance();
    return 0;
}

const std::map<std::string, std::function<long()>> kCalls = {
    {"Gone", DestroyAll},
    {"NoChannels", [] { return Fake().channels.clear(), 0; }},
    {"3dChannel", [] { return Fake().channels[0].korean3d = 1; }},
    {"Described", [] { return Fake().results["tv_stream_is_audio_description_enabled"] = 1; }},
    {"RegisterRecorder", [] { return mox_pvr_set_recorder_handle(kRecorder); }},
    {"RegisterPlayback", [] { return mox_pvr_set_tv_stream(kStream); }},
    {"FindRecorder", [] { return MoxPvrAPI::GetRecorderInstance(kRecorderKey) == nullptr; }},
    {"FindPlayback", [] { return MoxPvrAPI::GetPlaybackInstance(kPlaybackKey) == nullptr; }},
    {"DestroyRecorder", [] { return MoxPvrAPI::DestroyRecorder(kRecorderKey); }},
    {"DestroyPlayback", [] { return MoxPvrAPI::DestroyPlayback(kPlaybackKey); }},
    {"Pids", [] { return mox_pvr_set_playback_pid_property(nullptr, 0x200, 0x201, 0x202); }},
    {"FilePids",
     [] {
         unsigned int pids[3];
         return Playback()->GetPidPropertyByUri(std::move(g_uri), pids[0], pids[1], pids[2]);
     }},
    {"FileType",
     [] {
         IMOXPVRPlayback::eRecordedFileType type{};
         return Playback()->GetFileType(type);
     }},
};

/// @return an operation of an instance: one of its calls, or a request
template <typename Instance>
std::function<long()> StepOf(Instance *(*instance)(), const Calls<Instance> &calls, Side side,
                             decltype(mox_pvr_control_recording) *control,
                             const Operation &operation) {
    const auto found = calls.find(operation.name);
    if (found != calls.end())
        return [instance, &call = found->second, operation]() -> long {
            call(*instance(), operation, g_answer);
            return static_cast<long>(g_answer.result);
        };
    return [control, text = RequestOf(side, operation.Request())]() mutable -> long {
        unsigned int replySize = 0;
        return static_cast<long>(control(static_cast<unsigned int>(text.size()),
                                         reinterpret_cast<unsigned char *>(text.data()), replySize,
                                         reinterpret_cast<unsigned char *>(g_reply)));
    };
}

/// @return a step that allocates nothing itself when it is run
std::function<long()> Step(const std::string &step) {
    const auto call = kCalls.find(step);
    if (call != kCalls.end())
        return call->second;
    const Operation operation(std::regex_replace(step, std::regex("FILE"), kFile));
    return operation.kind == 'R' ? StepOf(Recorder, RecorderCalls(), Side::Recorder,
                                          mox_pvr_control_recording, operation)
                                 : StepOf(Playback, PlaybackCalls(), Side::Playback,
                                          mox_pvr_control_playback, operation);
}

// --- What can be seen of the instances -----------------------------------------------------------

/// What a step's journal tells of a subject: what stands behind the marker.
struct Question {
    const char *subject;
    const char *step;
    const char *marker;
};
constexpr Question kRecorderQuestions[] = {
    {"sink", "R GetFileName", "fileName["},          {"service", "R GetServiceId", "ullServiceId["},
    {"recorder", "R GetState", "m_eRecordState["},   {"pids", "R UpdateSi 0", "pid ["},
    {"si", "R UpdateSi 3 0x120 0x121 0x122", "49="}, {"type", "R Start", "c0["},
};
constexpr Question kPlaybackQuestions[] = {
    {"recording", "P GetFileName", "fileName["},
    {"playback", "P GetState", "m_ePlaybackState["},
    {"descrambled", "P AllPidDescrambled", "log 16 AllPidDescrambled(MoxPvrPlayback): "},
    {"", "Described", "nothing"},
    {"ad", "P SetADProperty 0x110", "134="},
    {"unprogrammed", "P SetPidProperty/codecs 0x100 0 0x101 0 0x102",
     "tv_stream_set_property(stream, "},
    {"", "P DoTvpCallback 30 3 9000", "nothing"},
    {"recovery", "P DoTvpCallback 16", "tv_player_set_position(player, "},
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
    State state{{"reply", g_reply}, {"answer", g_answer.Text()}};
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
struct Block {
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

void ForEachOperation(const std::function<void(const Block &)> &test) {
    for (const Scenario &scenario : LoadScenarios(OPERATIONS)) {
        Block operation{scenario.name, {}, {}, {}};
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
    explicit Session(const Block &operation) {
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
        ForgetAnswers();
        Fake().All();
    }
    ~Session() {
        DestroyAll();
        ForgetAnswers();
    }

    std::function<long()> run;
};

State StateBefore(const Block &operation) {
    const Session session(operation);
    return Observe();
}

/// Runs an operation with each of its platform calls failing in turn; first with none.
std::vector<std::string> Outcomes(const Block &operation) {
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
    ForEachOperation([&](const Block &operation) {
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
std::string Starve(const Block &operation, int first, int last) {
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
    ForEachOperation([&](const Block &operation) {
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
