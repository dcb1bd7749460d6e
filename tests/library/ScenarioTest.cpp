// Runs recorder.txt and playback.txt: operations, and the journal that each of them must leave.
//
//   == Name             a test of its own, on a fresh instance
//   ! setting values    how the platform is from here on
//   > Operation ...     what is done; all that it leaves in the journal follows
//   ~ Operation ...     the same, but only calls and events are compared
//   - Operation ...     the same, but nothing is compared
//
// An operation is a request in words (RequestWords.h), or one of CallsOf. After the fields are,
// where they matter, "= result", "reply=", "state=" and what the platform answers to a call,
// "call=", or what is done inside that call, "call=>Operation,...".
//
// With MOXPVR_RECORD=1 in the environment, a scenario that does not meet its expectations fails and
// is written anew, for a look at the difference:
//
//   MOXPVR_RECORD=1 build/debug/tests/library/library_tests --gtest_filter='Library/*'
#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>

#include "BusMessages.h"
#include "InstanceTest.h"
#include "Scenarios.h"

namespace {

using Lines = std::vector<std::string>;

/// Puts other lines in the place of a scenario's.
void Rewrite(const Scenario &scenario, const Lines &lines) {
    std::ifstream input(scenario.file);
    std::string text;
    bool isOther = true;
    for (std::string line; std::getline(input, line);) {
        const bool isTitle = line.compare(0, 3, "== ") == 0;
        isOther = isTitle ? line.substr(3) != scenario.name : isOther;
        if (isOther || isTitle)
            text += line + '\n';
        for (std::size_t i = 0; isTitle && !isOther && i < lines.size(); ++i)
            text += lines[i] + '\n';
    }
    input.close();
    std::ofstream(scenario.file) << text;
}

/// Writes a journal as the scenarios have it, several entries per line: what Expand reads.
Lines Contract(std::string operation, const std::string &file, const std::string &journal) {
    constexpr std::size_t kColumns = 120;
    constexpr std::pair<const char *, const char *> kShort[] = {
        {"tv_stream_set_property(stream, ", "set "},
        {"tv_recorder_set_property(recorder, ", "rec "}};
    Lines lines;
    std::istringstream entries(journal);
    for (std::string entry; std::getline(entries, entry);) {
        const auto end = entry.find(file);
        if (entry.compare(0, 4, "log ") == 0 && end != std::string::npos) {
            const auto begin = entry.find(' ', 4) + 1;
            const std::string function = entry.substr(begin, end - begin);
            entry = entry.substr(4, begin - 4) + entry.substr(end + file.size());
            if (function != operation)
                entry.insert(0, '@' + function + "; ");
            operation = function;
        }
        for (const auto &[call, word] : kShort) {
            if (entry.rfind(call, 0) == 0)
                entry =
                    word + entry.substr(std::strlen(call), entry.size() - std::strlen(call) - 1);
        }
        if (lines.empty() || lines.back().size() + 2 + entry.size() > kColumns)
            lines.push_back(entry);
        else
            lines.back() += "; " + entry;
    }
    return lines;
}

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
        operator Type() const {
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
    std::string Line(unsigned int endResult, const std::string &reply, unsigned int state) const {
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
            line += Format(" state=%u", state);
        return line;
    }

    char kind;
    std::string name;
    std::vector<std::string> fields;
    unsigned int result = 0;
    std::map<std::string, std::string> answers;
};

void SetPlatform(const Operation &setting) {
    if (setting.name == "channel")
        Fake().channels[setting[0]] =
            Channel(setting[1], setting[2], setting[3], setting[4], setting[5], setting[6]);
    else if (setting.name == "3d")
        std::tie(Fake().channels[0].korean3d, Fake().channels[0].subVideoPid) =
            std::pair(1, std::uint16_t(setting[0]));
    else if (setting.name == "no-channels")
        Fake().channels.clear();
    else if (setting.name == "position")
        std::tie(Fake().position, Fake().duration) = std::pair(setting[0].value, setting[1].value);
    else if (setting.name == "timeshift-duration")
        Fake().timeshiftDuration = setting[0];
    else if (setting.name == "later")  // milliseconds
        Fake().now += std::chrono::milliseconds(setting[0].value);
    else if (setting.name == "no-managers")
        Fake().hasEventManager = Fake().hasUserDataManager = false;
    else
        FAIL() << setting.name;
}

// --- What is done to an instance besides requests ------------------------------------------------

template <typename Instance>
using Calls =
    std::map<std::string, std::function<void(Instance &, const Operation &, unsigned int &)>>;

/// The message that fields name from one on: "error" and a code, or an application's type and
/// parameter; none without a field.
BusMessage MessageOf(const Operation &words, std::size_t at) {
    if (words.fields.size() <= at)
        return {nullptr, gst_message_unref};
    if (words.fields[at] == "error")
        return ErrorMessage(words[at + 1], words.fields.size() > at + 2 ? nullptr : "debug");
    return ApplicationMessage(words[at], words[at + 1]);
}

const Calls<CMOXPVRRecorder> &CallsOf(const CMOXPVRRecorder & /*instance*/) {
    static TvStreamAsmSoundCommand command;
    const auto callBack = [](const Operation &w, void *user) {
        const bool isMessage = static_cast<int>(w[0]) < TV_PLAYER_CALLBACK_ASM_COMMAND;
        const BusMessage message = MessageOf(w, isMessage ? 1 : w.fields.size());
        command.command = isMessage ? 0 : static_cast<int>(w[1]);
        Fake().callback(w[0], user, isMessage ? static_cast<void *>(message.get()) : &command);
    };
    static const Calls<CMOXPVRRecorder> calls = {
        {"RecordCB", [=](auto &, auto &w, auto &) { callBack(w, Fake().callbackUser); }},
        {"RecordCB/for-nobody", [=](auto &, auto &w, auto &) { callBack(w, nullptr); }},
        {"AppCB", [](auto &r, auto &w, auto &) { r.AppCB(MessageOf(w, 0).get()); }},
        {"ErrorCB", [](auto &r, auto &w, auto &) { r.ErrorCB(MessageOf(w, 0).get()); }},
        {"AsmCB",
         [](auto &r, auto &w, auto &) {
             command.command = w[0];
             r.AsmCB(w.fields.empty() ? nullptr : &command);
         }},
    };
    return calls;
}

void DoTvpCallback(CMOXPVRPlayback &playback, const Operation &w, unsigned int & /*result*/) {
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{w[1], w[2], w[3]};
    playback.DoTvpCallback(w[0], &property);
    EXPECT_EQ(property.timeCode, static_cast<int>(w[w.fields.size() > 4 ? 4 : 2]));
}

TSVideo Video(const Operation &w) {
    return {{}, w[0], w[1], w[2], 0};
}
TSAudio Audio(const Operation &w, std::size_t at) {
    TSAudio audio{};
    audio.pid = w[at];
    audio.codecType = w[at + 1];
    audio.multiSoundMode = MULTI_SOUND_DUAL_MIX;
    return audio;
}

void GetPidProperty(CMOXPVRPlayback &playback, const Operation &w, unsigned int &result) {
    std::array<unsigned int, 3> pids = {9, 9, 9};
    result = playback.GetPidProperty(pids[0], pids[1], pids[2]);
    EXPECT_EQ(pids, (std::array<unsigned int, 3>{w[0], w[1], w[2]}));
}

const Calls<CMOXPVRPlayback> &CallsOf(const CMOXPVRPlayback & /*instance*/) {
    using Property = IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty;
    constexpr Property *kNoRecord = nullptr;
    constexpr GstMessage *kNoMessage = nullptr;
    static const Calls<CMOXPVRPlayback> calls = {
        {"DoTvpCallback", DoTvpCallback},
        {"DoTvpCallback/without-record",
         [=](auto &p, auto &w, auto &) { p.DoTvpCallback(w[0], kNoRecord); }},
        {"DoTvpCallback/of-the-platform",
         [](auto &p, auto &, auto &) { p.DoTvpCallback({}, nullptr, nullptr); }},
        {"UnmuteCB", [=](auto &p, auto &w, auto &) { p.UnmuteCB(w[0], kNoRecord); }},
        {"UnmuteCB/message", [=](auto &p, auto &w, auto &) { p.UnmuteCB(w[0], kNoMessage); }},
        {"AppCB", [](auto &p, auto &w, auto &) { p.AppCB(MessageOf(w, 0).get()); }},
        {"ErrorCB", [](auto &p, auto &w, auto &) { p.ErrorCB(MessageOf(w, 0).get()); }},
        {"SetPidProperty/pids",
         [](auto &p, auto &w, auto &r) { r = p.SetPidProperty(w[0], w[1], w[2]); }},
        {"SetPidProperty/codecs",
         [](auto &p, auto &w, auto &r) { r = p.SetPidProperty(w[0], w[1], w[2], w[3], w[4]); }},
        {"SetPidProperty/streams",
         [](auto &p, auto &w, auto &r) { r = p.SetPidProperty(Video(w), Audio(w, 3)); }},
        {"SetPidProperty/choice",
         [](auto &p, auto &w, auto &r) { r = p.SetPidProperty(Video(w), Audio(w, 3), w[5]); }},
        {"IsExceptionAudioChangeCase",
         [](auto &p, auto &w, auto &r) { r = p.IsExceptionAudioChangeCase(w[0]); }},
        {"SetPlaybackProperty",
         [](auto &p, auto &w, auto &r) {
             r = p.SetPlaybackProperty({w[0], w[1], w[2], w[3], w[4]});
         }},
        {"SetADProperty", [](auto &p, auto &w, auto &r) { r = p.SetADProperty(Audio(w, 0)); }},
        {"DisableADProperty", [](auto &p, auto &, auto &r) { r = p.DisableADProperty(); }},
        {"Reset/audio", [](auto &p, auto &, auto &r) { r = p.Reset(true); }},
        {"GetPidProperty", GetPidProperty},
    };
    return calls;
}

unsigned int StateOf(IMOXPVRRecorder &instance) {
    IMOXPVRRecorder::ePvrRecordState state{};
    return static_cast<unsigned int>(instance.GetState(state)) + state;
}
unsigned int StateOf(IMOXPVRPlayback &instance) {
    IMOXPVRPlayback::ePvrPlaybackState state{};
    return instance.GetState(state) + state;
}

template <typename Base>
class ScenarioTest : public Base, public testing::WithParamInterface<Scenario> {
  protected:
    void Run() {
        const Lines &lines = GetParam().lines;
        g_set_printerr_handler([](const char *text) {
            Fake().Note("told " + std::string(text, std::strlen(text) - 1));  // without its newline
        });
        Lines recorded;
        for (auto line = lines.begin(); line != lines.end();) {
            recorded.push_back(*line++);
            if (recorded.back().empty() || recorded.back()[0] == '#')
                continue;
            const Operation operation(recorded.back());
            SCOPED_TRACE(recorded.back());
            std::string journal;
            for (; line != lines.end() && std::strchr("!>~-#", (*line)[0]) == nullptr; ++line)
                journal += *line + '\n';
            if (operation.kind == '!')
                Set(operation);
            else
                Do(operation, journal, recorded);
        }
        if (std::getenv("MOXPVR_RECORD") != nullptr && recorded != lines) {
            Rewrite(GetParam(), recorded);
            ADD_FAILURE() << "written anew in " << GetParam().file;
        }
    }

  private:
    void Set(const Operation &setting) {
        const bool hasObjects = setting.name == "objects";
        if (hasObjects || setting.name == "no-objects")
            this->Initilize(hasObjects);
        else
            SetPlatform(setting);
        Fake().All();
    }

    void Perform(const Operation &operation) {
        const auto &calls = CallsOf(this->m_instance);
        const auto call = calls.find(operation.name);
        m_result = 0;
        if (call != calls.end())
            call->second(this->m_instance, operation, m_result);
        else
            m_result = this->Send(operation.Request());
        EXPECT_EQ(m_result, operation.result);
        const auto reply = operation.answers.find("reply");
        EXPECT_EQ(this->m_reply, reply != operation.answers.end() ? reply->second : "none");
    }

    void Do(const Operation &operation, const std::string &journal, Lines &recorded) {
        m_result = 0;
        this->m_reply = "none";
        std::map<std::string, std::string> answers = operation.answers;
        Fake().results.clear();
        for (auto [call, answer] : answers) {
            if (answer[0] == '>') {
                std::replace(answer.begin(), answer.end(), ',', ' ');
                const Operation inside("> " + answer.substr(1));
                Fake().during[call] = [this, inside] { Perform(inside); };
            } else if (call != "reply") {
                Fake().results[call] = std::stoi(answer);
            }
        }
        Perform(operation);
        EXPECT_TRUE(Fake().during.empty()) << "calls that were not made";
        std::string left = operation.kind == '>' ? Fake().All() : Fake().Effects();
        left.erase(0, operation.kind == '-' ? left.size() : this->AfterDispatch(left));
        const std::string file = FileOf(this->m_instance);
        const std::string function = operation.name.substr(0, operation.name.find('/'));
        EXPECT_EQ(left, Expand(function, file, journal));
        const unsigned int state = StateOf(this->m_instance);
        if (answers.count("state") != 0) {
            EXPECT_EQ(std::to_string(state), answers["state"]);
        }
        Fake().All();
        recorded.back() = operation.Line(m_result, this->m_reply, state);
        for (const std::string &line : Contract(function, file, left))
            recorded.push_back(line);
    }

    unsigned int m_result = 0;
};

using Recorder = ScenarioTest<RecorderTest>;
using Playback = ScenarioTest<PlaybackTest>;

TEST_P(Recorder, Scenario) {
    Run();
}
TEST_P(Playback, Scenario) {
    Run();
}

auto Scenarios(const std::string &file) {
    return testing::ValuesIn(LoadScenarios(SCENARIO_FOLDER + file));
}
INSTANTIATE_TEST_SUITE_P(Library, Recorder, Scenarios("recorder.txt"), ScenarioName);
INSTANTIATE_TEST_SUITE_P(Library, Playback, Scenarios("playback.txt"), ScenarioName);

}  // namespace
