// Runs recorder.txt and playback.txt: operations, and the journal that each of them must leave.
//
//   == Name             a test of its own, on a fresh instance
//   ! setting values    how the platform is from here on
//   > Operation ...     what is done; all that it leaves in the journal follows
//   ~ Operation ...     the same, but only calls and events are compared
//   - Operation ...     the same, but nothing is compared
//
// An operation is a request in words (RequestWords.h), or DoTvpCallback with the type and the
// record. After the fields are, where they matter, "= result", "reply=", "state=" and what the
// platform answers to a call, "call=", or what is done inside that call, "call=>Operation,...".
#include <algorithm>
#include <fstream>

#include "InstanceTest.h"

namespace {

struct Scenario {
    std::string name;
    std::vector<std::string> lines;
};

std::ostream &operator<<(std::ostream &out, const Scenario &scenario) {
    return out << scenario.name;
}

std::vector<Scenario> Load(const std::string &file) {
    std::vector<Scenario> scenarios;
    std::ifstream input(SCENARIO_FOLDER + file);
    for (std::string line; std::getline(input, line);) {
        if (line.compare(0, 3, "== ") == 0)
            scenarios.push_back({line.substr(3), {}});
        else if (!line.empty() && line[0] != '#')
            scenarios.back().lines.push_back(line);
    }
    return scenarios;
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

    /// A field as an integer; 0 behind the last one.
    long long operator[](std::size_t field) const {
        return field < fields.size() ? std::stoll(fields[field], nullptr, 0) : 0;
    }
    int Int(std::size_t field) const { return static_cast<int>((*this)[field]); }

    std::string Request() const {
        std::string words = name;
        for (const std::string &field : fields)
            words += ' ' + field;
        return words;
    }

    char kind;
    std::string name;
    std::vector<std::string> fields;
    unsigned int result = 0;
    std::map<std::string, std::string> answers;
};

void SetPlatform(const Operation &setting) {
    if (setting.name == "channel")
        Fake().channels[setting.Int(0)] = Channel(setting.Int(1), setting.Int(2), setting.Int(3),
                                                  setting.Int(4), setting.Int(5), setting.Int(6));
    else if (setting.name == "no-channels")
        Fake().channels.clear();
    else if (setting.name == "position")
        std::tie(Fake().position, Fake().duration) = std::pair(setting[0], setting[1]);
    else if (setting.name == "timeshift-duration")
        Fake().timeshiftDuration = static_cast<unsigned int>(setting[0]);
    else if (setting.name == "later")  // milliseconds
        Fake().now += std::chrono::milliseconds(setting[0]);
    else if (setting.name == "no-managers")
        Fake().hasEventManager = Fake().hasUserDataManager = false;
    else
        FAIL() << setting.name;
}

/// @return false for a recorder, which takes no such callbacks
bool Callback(IMOXPVRRecorder & /*instance*/, const Operation & /*operation*/) {
    return false;
}
bool Callback(IMOXPVRPlayback &instance, const Operation &operation) {
    if (operation.name != "DoTvpCallback")
        return false;
    IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{operation.Int(1), operation.Int(2),
                                                             operation.Int(3)};
    instance.DoTvpCallback(static_cast<TVCallbackType>(operation.Int(0)), &property);
    EXPECT_EQ(property.timeCode, operation.Int(operation.fields.size() > 4 ? 4 : 2));
    return true;
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
        const std::vector<std::string> &lines = GetParam().lines;
        for (auto line = lines.begin(); line != lines.end();) {
            const Operation operation(*line);
            std::string journal;
            SCOPED_TRACE(*line);
            while (++line != lines.end() && std::strchr("!>~-", (*line)[0]) == nullptr)
                journal += *line + '\n';
            if (operation.kind == '!')
                SetPlatform(operation);
            else
                Do(operation, journal);
        }
    }

  private:
    void Perform(const Operation &operation) {
        if (Callback(this->m_instance, operation))
            return;
        EXPECT_EQ(this->Send(operation.Request()), operation.result);
        const auto reply = operation.answers.find("reply");
        EXPECT_EQ(this->m_reply, reply != operation.answers.end() ? reply->second : "none");
    }

    void Do(const Operation &operation, const std::string &journal) {
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
        const std::string left = operation.kind == '>' ? Fake().All() : Fake().Effects();
        if (operation.kind != '-') {
            EXPECT_EQ(left.substr(this->AfterDispatch(left)),
                      Expand(operation.name, FileOf(this->m_instance), journal));
        }
        if (answers.count("state") != 0) {
            EXPECT_EQ(std::to_string(StateOf(this->m_instance)), answers["state"]);
        }
        Fake().All();
    }
};

using Recorder = ScenarioTest<RecorderTest>;
using Playback = ScenarioTest<PlaybackTest>;

TEST_P(Recorder, Scenario) {
    Run();
}
TEST_P(Playback, Scenario) {
    Run();
}

std::string NameOf(const testing::TestParamInfo<Scenario> &info) {
    return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Library, Recorder, testing::ValuesIn(Load("recorder.txt")), NameOf);
INSTANTIATE_TEST_SUITE_P(Library, Playback, testing::ValuesIn(Load("playback.txt")), NameOf);

}  // namespace
