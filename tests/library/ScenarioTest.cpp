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
#include <cstdlib>
#include <fstream>

#include "InstanceCalls.h"
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

/// Where the lines of the dispatcher end.
std::size_t AfterDispatch(const std::string &journal) {
    std::size_t at = 0;
    while (journal.compare(at, 10, "log 4 Ctrl") == 0)
        at = journal.find('\n', at) + 1;
    return at;
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
    }

    static const auto &AllCalls() {
        if constexpr (Base::kRecords)
            return RecorderCalls();
        else
            return PlaybackCalls();
    }

    void Perform(const Operation &operation) {
        const auto call = AllCalls().find(operation.name);
        if (call != AllCalls().end()) {
            Answer answer;
            call->second(this->m_instance, operation, answer);
            std::tie(m_result, this->m_reply) = std::pair(answer.result, answer.Text());
        } else {
            m_result = this->Send(operation.Request());
        }
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
        left.erase(0, operation.kind == '-' ? left.size() : AfterDispatch(left));
        const std::string function = operation.name.substr(0, operation.name.find('/'));
        EXPECT_EQ(left, Expand(function, this->kFile, journal));
        Answer state;
        AllCalls().at("GetState")(this->m_instance, operation, state);
        if (answers.count("state") != 0) {
            EXPECT_EQ(state.Text(), answers["state"]);
        }
        Fake().All();
        recorded.back() = operation.Line(m_result, this->m_reply, state.Text());
        for (const std::string &line : Contract(function, this->kFile, left))
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
