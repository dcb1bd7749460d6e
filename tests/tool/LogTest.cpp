// What a log says: every message the library has, logs that are complete, and logs that are not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "log/LogReader.h"
#include "log/Messages.h"
#include "log/SessionBuilder.h"
#include "log/SessionFile.h"
#include "log/SessionText.h"
#include "TemporaryFolder.h"

namespace tool::log {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// --- The catalogue -------------------------------------------------------------------------------

std::string ReadFile(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// @return the string literals at a place of a source, joined to one without its line end
std::string LiteralsAt(const std::string &source, std::size_t at) {
    static const std::regex kLiteral(R"re(\s*"((?:[^"\\]|\\.)*)")re");
    std::string text;
    std::smatch literal;
    for (auto from = source.begin() + static_cast<std::ptrdiff_t>(at); std::regex_search(
             from, source.end(), literal, kLiteral, std::regex_constants::match_continuous);
         from = literal[0].second)
        text += literal[1];
    return std::regex_replace(text, std::regex(R"(\\n)"), "");
}

/// @return every text that the sources log; a call or macro without a literal names another's
std::vector<std::string> LoggedTexts() {
    static const std::regex kUse(R"(MOX_LOG(_AT|_RECEIVED)?\(|define MOX_LOG_NOTHING_CHANGED)");
    constexpr char kReceived[] = "SetChannelInfoProperty | Received channelinfo in req_ptr ";
    std::vector<std::string> texts;
    for (const auto &entry : fs::recursive_directory_iterator(SOURCES)) {
        const std::string source = entry.path().extension() == ".cpp" ? ReadFile(entry.path()) : "";
        for (std::sregex_iterator at(source.begin(), source.end(), kUse), end; at != end; ++at) {
            const auto begin = static_cast<std::size_t>(at->position());
            const std::size_t quote = source.find('"', begin);
            std::string text = quote < source.find(';', begin) ? LiteralsAt(source, quote) : "";
            if ((*at)[1] == "_RECEIVED" && text != kReceived)
                text.insert(0, kReceived);
            if (!text.empty() && text != kReceived)
                texts.push_back(text);
        }
    }
    return texts;
}

/// @return a message with something printed for each conversion
std::string Printed(const std::string &format) {
    std::string text = std::regex_replace(format, std::regex("^%s"), "[FAT] ");
    text = std::regex_replace(text, std::regex(R"(%(\.\*)?s)"), "text");
    text = std::regex_replace(text, std::regex("%f"), "-2.000000");
    return std::regex_replace(text, std::regex("%0?[0-9]*l*[dxup]"), "12");
}

TEST(Messages, AreThoseOfTheLibraryNoMoreNoFewer) {
    std::set<const Message *> found;
    const std::vector<std::string> texts = LoggedTexts();
    EXPECT_GT(texts.size(), 300U) << "every call of the log is looked at";
    for (const std::string &text : texts) {
        const Match match = FindMessage(Printed(text));
        EXPECT_TRUE(match.message != nullptr && !match.isCut)
            << text << ": add it to MessageTable.cpp";
        found.insert(match.message);
    }
    for (const Message &message : Messages())
        EXPECT_EQ(found.count(&message), 1U) << message.pattern << ": the library logs it no more";
}

TEST(Messages, ThatAreCutAreKnownByTheirBeginningOrNotAtAll) {
    const struct {
        const char *text;
        const char *title;  // null: no message can be told
        std::vector<Value> values;
    } rows[] = {
        {"[FAT] tv_recorder_set_property set pid[0x12] index[3], pid nu",
         "tv_recorder_set_property ADD_PID",
         {{"pid", "0x12"}, {"index", "3"}}},
        {"[FAT] tv_recorder_set_property set pid[0x12", "tv_recorder_set_property ADD_PID", {}},
        {"CtrlRecorder | inSize[536] inData[03000", "", {{"size", "536"}}},
        {"Stop | this func is ", nullptr, {}},  // started or ended
        {"", nullptr, {}},
        {"Stop | this func was", nullptr, {}}};
    for (const auto &row : rows) {
        const Match match = FindMessage(row.text);
        const char *title = match.message != nullptr ? match.message->title : nullptr;
        EXPECT_STREQ(title, row.title) << row.text;
        EXPECT_EQ(match.values, row.values) << row.text;
    }
}

// --- The log of a run ----------------------------------------------------------------------------

/// The log of `mox-pvr demo`, made once.
const std::vector<std::string> &DemoLog() {
    static const std::vector<std::string> lines = [] {
        const std::string folder = TemporaryFolder() + "log";
        fs::create_directory(folder);
        fs::create_symlink(MOXPVR_TOOL_FILE, folder + "/mox-pvr");
        const std::string command =
            "cd '" + folder + "' && " MOXPVR_TOOL " --log log demo --out out >/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::vector<std::string> read;
        std::ifstream file(folder + "/log");
        for (std::string line; std::getline(file, line);)
            read.push_back(line);
        fs::remove_all(folder);
        return read;
    }();
    return lines;
}

using Change = std::function<std::string(const std::string &line, std::size_t number)>;

Session SessionOf(const Change &change) {
    std::ostringstream log;
    std::size_t number = 0;
    for (const std::string &line : DemoLog())
        log << change(line, ++number);
    std::istringstream input(log.str());
    return ReadSession(input, "demo");
}

/// The library's part of a line.
std::string Bare(const std::string &line) {
    return line.substr(line.find("MoxPvr"));
}

std::string Seconds(std::size_t number, const char *before, const char *after) {
    std::ostringstream text;
    text << before << std::fixed << std::setprecision(6) << 70.0 + 0.01 * double(number) << after;
    return text.str();
}

std::size_t UnknownSteps(const Session &session) {
    return static_cast<std::size_t>(
        std::count_if(session.steps.begin(), session.steps.end(),
                      [](const Step &step) { return step.kind == StepKind::Unknown; }));
}

TEST(Explain, LeavesNothingOfADemoOverWhateverTheLogSystemAdds) {
    const struct {
        const char *name;
        Change change;
        bool hasTime;
    } rows[] = {
        {"as it is", [](auto line, auto) { return line + "\n"; }, true},
        {"bare", [](auto line, auto) { return Bare(line) + "\n"; }, false},
        {"NUL", [](auto line, auto) { return Bare(line) + std::string(1, '\0'); }, false},
        {"ISO 8601 and CRLF",
         [](auto line, auto) {
             return line.substr(0, 10) + "T" + line.substr(11, 12) + "+01:00 " + Bare(line) +
                    "\r\n";
         },
         true},
        {"time of day",
         [](auto line, auto) { return line.substr(11, 12) + "|" + Bare(line) + "\n"; }, true},
        {"logcat",
         [](auto line, auto) {
             return line.substr(5, 18) + "  1234  1250 I PVR_SVC_MOX: " + Bare(line) + "\n";
         },
         true},
        {"syslog",
         [](auto line, auto) {
             return "Nov  3 " + line.substr(11, 8) + " tv pvr[412]: " + Bare(line) + "\n";
         },
         true},
        {"monotonic", [](auto line, auto n) { return Seconds(n, "[  ", "] ") + Bare(line) + "\n"; },
         true},
        {"CR", [](auto line, auto) { return line + "\r"; }, true},
        {"colour", [](auto line, auto) { return line + "\x1b[0;1m\x1b[K\n"; }, true},
        {"JSON",
         [](auto line, auto) { return "{\"log\":\"" + line + "\\n\",\"stream\":\"stderr\"}\n"; },
         true},
        {"cut at 200", [](auto line, auto) { return line.substr(0, 200) + "\n"; }, true}};
    for (const auto &row : rows) {
        const Session session = SessionOf(row.change);
        EXPECT_EQ(session.lines.size(), DemoLog().size()) << row.name;
        EXPECT_EQ(UnknownSteps(session), 0U) << row.name;
        EXPECT_THAT(session.missing, IsEmpty()) << row.name;
        EXPECT_THAT(session.failures, IsEmpty()) << row.name;
        EXPECT_THAT(session.mixed, IsEmpty()) << row.name << ": one recording after the other";
        EXPECT_EQ(session.unclearLines > 0, std::string(row.name) == "cut at 200") << row.name;
        EXPECT_EQ(session.hasTime, row.hasTime) << row.name;
        EXPECT_LT(session.steps.size(), session.lines.size() / 4) << row.name << ": folded";
        EXPECT_GT(PositionOf(session, session.lines.size() - 1), 5) << row.name;
    }
}

TEST(Explain, SaysWhatALogHasLost) {
    const Session session =
        SessionOf([](auto line, auto number) { return number % 10 == 0 ? "" : line + "\n"; });
    EXPECT_EQ(UnknownSteps(session), 0U);
    EXPECT_GT(session.missing.size(), DemoLog().size() / 20);
    for (const Step &step : session.steps)
        EXPECT_FALSE(step.isFailure) << step.title << ": what is missing has not failed";
}

TEST(Explain, TellsTheStoryOfADemo) {
    const Session session = SessionOf([](auto line, auto) { return line + "\n"; });
    std::map<std::pair<Side, Lane>, std::string> lanes;
    for (const Stretch &stretch : session.stretches)
        lanes[{stretch.side, stretch.lane}] += stretch.label + (stretch.isOpen ? "..., " : ", ");
    const decltype(lanes) expected = {
        {{Side::Recorder, Lane::RecorderState}, "recording, buffering, recording, recording, "},
        {{Side::Recorder, Lane::Channel}, "service 1, service 3, service 1, service 2, "},
        {{Side::Playback, Lane::PlaybackState}, "playing, paused, playing, playing, playing, "},
        {{Side::Playback, Lane::Rate}, "1x, 4x, 1x, -4x, 1x, -4x, 1x, 4x, 1x, 1x, "},
        {{Side::Playback, Lane::VideoMute}, "still, still, still, still, still, "},
        {{Side::Playback, Lane::SoundMute}, "muted until the service lifts it, "},
        {{Side::Playback, Lane::Channel},
         "video 0x101, video 0x301, video 0x101, video 0x301, video 0x101, audio 0x201, "}};
    EXPECT_EQ(lanes, expected);
    const auto json = nlohmann::json::parse(JsonOf(session));
    EXPECT_EQ(json["lines"].size(), DemoLog().size());
    EXPECT_EQ(json["steps"][json["lines"][5]["step"].get<std::size_t>()]["title"], "SetHandle");
    EXPECT_GT(json["lines"][5]["sourceLine"], 100);
    std::set<std::string> phases;
    const auto trace = nlohmann::json::parse(TraceOf(session));
    for (const auto &event : trace["traceEvents"])
        phases.insert(event["ph"]);
    EXPECT_EQ(phases, (std::set<std::string>{"M", "X", "i"}));
}

// --- Logs that went wrong ------------------------------------------------------------------------

std::string TextOf(const std::string &log) {
    std::istringstream input(log);
    std::string text;
    WriteText(ReadSession(input, "a log"),
              [&](const std::string &line, Style /*style*/) { text += line + "\n"; });
    return text;
}

std::string Recorder(const std::string &function, const std::string &message) {
    return "MoxPvrRecord.cpp: " + function + "(7) > [PVR][MOX]" + message + "\n";
}

TEST(Explain, NamesFailuresLossesAndStrangers) {
    const std::string started = "this func is started";
    const struct {
        std::string log;
        const char *says;
    } rows[] = {
        {Recorder("Stop", started) + Recorder("Stop", "Stop | this func is ended, result [5]"),
         "line 2, in Stop:  "},
        {"2026-11-23T23:30:10+0030 " + Recorder("Stop", started) + "2026-11-23T23:00:11Z " +
             Recorder("Stop", "Stop | this func is ended, result [0]"),
         "1.000 s, from"},
        {Recorder("Stop", started) + Recorder("Stop", "failed [m_handle]") + "\n",
         "something is missing  missing m_handle"},
        {Recorder("Stop", started) + Recorder("CtrlRecorder", "CtrlRecorder | cmd [10]"),
         "line 1: the end of Stop"},
        {Recorder("CtrlRecorder", "CtrlRecorder | cmd [9]") +
             Recorder("Stop", "Stop | this func is ended, result [0]"),
         "line 1: the request line before cmd [9] (Stop)"},
        {Recorder("CtrlRecorder", "CtrlRecorder | inSize[8] inData[09000000]"),
         "line 1: the cmd line after the request Stop"},
        {Recorder("CtrlRecorder", "CtrlRecorder | inSize[7] inData[0900000]"),
         "refused: text of 7 characters"},
        {Recorder("CtrlRecorder", "CtrlRecorder | inSize[8] inData[63000000]") +
             Recorder("CtrlRecorder", "CtrlRecorder | cmd [99]") +
             Recorder("CtrlRecorder", "[FAT] CtrlRecorder | error command"),
         "unknown command"},
        {Recorder("CtrlRecorder", "CtrlRecorder | cmd [2]") +
             Recorder("SetDemuxProperty", started) +
             Recorder("SetDemuxProperty", "===============now the pid info===============") +
             Recorder("SetDemuxProperty", "demux property index [2], pid [0x11]"),
         "from the list of PIDs: index 0 to 1"},
        {"MoxPvrService " + Recorder("Stop", "Stop | a message of tomorrow"),
         "a line that no message of this version matches"},
        {Recorder("Stop", "Stop | this func is st").substr(0, 60) + Recorder("Pause", started),
         "2 lines of the library"},  // two writers, one line
        {"\x1b[2J" + Recorder("Sto\x1b", "") +
             Recorder("SetSinkProperty",
                      "[FAT] SetSinkProperty | Received sink file name is "
                      "\x1b[2J\xff\u202egpj.\u2069\u20ac"),
         "path \\x1b[2J\\xff\\u{202e}gpj.\\u{2069}\u20ac"},
        {Recorder("Stop", "[FAT]failed [m_handle]"), "every line of progress"},
        {"\r\r\n\r\r" + Recorder("Stop", "[FAT]failed [m_handle]"), "line 4, in Stop:"},
        {Recorder("GetRecorderInstance", "find recorder pointer [0x10]") +
             Recorder("GetRecorderInstance", "find recorder pointer [0x20]"),
         "lines of several recorders are mixed"},
        {Recorder("SetHandle", "SetHandle | handle [2] service_id[1] is_support_ci[0]") +
             Recorder("AppCB", "app_type[1] app_param[0], c0[1] c1[101] L1[0]"),
         "lines of several recorders are mixed"},
        {Recorder("Stop", "this func is ended") + Recorder("Stop", "Stop | this func is st"),
         "1 line of the library cut or not understood: a failure there may not be shown\n"
         "no failures in the other lines\n"}};
    for (const auto &row : rows)
        EXPECT_THAT(TextOf(row.log), HasSubstr(row.says)) << row.log;
}

TEST(LogReader, KeepsOfALineNoMoreThanTheLineHas) {
    std::string text;
    while (text.size() < LogReader::kLongestLine - 100)
        text += "MoxPvr.cpp: F(1) > [PVR][MOX]a message";
    std::istringstream log(text);
    bool isEnd = false;
    std::size_t kept = 0;
    for (const FoundLine &found : LogReader(log).Next(isEnd))
        kept += found.line.message.capacity();
    EXPECT_LT(kept, text.size());
}

}  // namespace
}  // namespace tool::log
