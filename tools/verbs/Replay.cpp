#include "verbs/Replay.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iomanip>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include "Failure.h"
#include "log/Messages.h"
#include "log/Session.h"
#include "log/SessionText.h"
#include "log/StepValues.h"
#include "service/Events.h"
#include "service/Input.h"
#include "service/RecordingControl.h"
#include "text/EventText.h"
#include "text/HexText.h"
#include "text/Printable.h"
#include "text/RecordLayout.h"
#include "text/RequestSummary.h"
#include "verbs/Explain.h"
#include "verbs/OutputDirectory.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// A request of the log, or the registration of a recorder.
struct Item {
    std::size_t line = 0;  ///< in the log
    double position = 0;   ///< seconds, or lines without time stamps
    bool isRegistration = false;
    std::string text{};      ///< as sent, hexadecimal
    std::string obstacle{};  ///< why it cannot be sent; empty: it can
    std::string outcome{};   ///< as the log has it; empty where it has none
};

std::string ValueOf(const log::Match &match, const std::string &name) {
    const std::string *value = log::ValueOf(match.values, name);
    return value != nullptr ? *value : "";
}

Item RequestOf(const log::Session &session, std::size_t at, const log::Match &match) {
    const log::Line &line = session.lines[at];
    const log::Step &step = session.steps[session.stepOf[at]];
    Item item{line.number, log::PositionOf(session, at)};
    item.text = ValueOf(match, "text");
    item.outcome = step.outcome;
    const std::string size = ValueOf(match, "size");
    if (line.isCut)
        item.obstacle = step.title + ": the log has only the start of it";
    else if (std::to_string(item.text.size()) != size)
        item.obstacle =
            "the log has " + std::to_string(item.text.size()) + " of " + size + " characters";
    return item;
}

std::vector<Item> ItemsOf(const log::Session &session) {
    std::vector<Item> items;
    for (std::size_t at = 0; at < session.lines.size(); ++at) {
        const log::Line &line = session.lines[at];
        if (line.function != "CtrlRecorder" && line.function != "SetRecorderHandle")
            continue;
        const log::Match match = log::FindMessage(line.message);
        const log::Role role = match.message != nullptr ? match.message->role : log::Role::Values;
        if (role == log::Role::RequestText) {
            items.push_back(RequestOf(session, at, match));
        } else if (role == log::Role::Begin && line.function == "SetRecorderHandle") {
            items.push_back({line.number, log::PositionOf(session, at)});
            items.back().isRegistration = true;
        }
    }
    return items;
}

/// Names for the files of a log in a directory of this machine.
class Paths {
  public:
    explicit Paths(const std::string &directory) : m_directory(directory) {}

    /// @return where a path of the log is written; the same for the same
    std::string InDirectory(const std::string &logged) {
        const auto known = m_paths.find(logged);
        if (known != m_paths.end())
            return known->second;
        const std::string base = logged.substr(logged.find_last_of('/') + 1);
        const fs::path name = IsUsable(base) ? base : "recording.srf";
        std::string free = name.string();
        for (int number = 2; !m_names.insert(free).second; ++number)
            free = name.stem().string() + "-" + std::to_string(number) + name.extension().string();
        return m_paths[logged] = (fs::path(m_directory) / free).string();
    }

  private:
    /// Recordings need an extension of three letters, for the information file beside them. A long
    /// name may have room where it was logged, but not here.
    static bool IsUsable(const std::string &name) {
        constexpr std::size_t kLongest = 64;
        const fs::path path = name;
        return path.extension().string().size() == 4 && path.extension() != ".inf" &&
               name.size() <= kLongest && Printable(name) == name;
    }

    std::string m_directory;
    std::map<std::string, std::string> m_paths;
    std::set<std::string> m_names;
};

/// @return the request with the path of its record, where it has one, in the directory
std::string Redirected(const std::string &text, Paths &paths) {
    Bytes bytes = BytesOf(text);
    const std::uint32_t command = moxpvr::CommandOf(bytes.data(), bytes.size());
    if (command != static_cast<std::uint32_t>(recorder::Command::SetSinkProperty) &&
        command != static_cast<std::uint32_t>(recorder::Command::SwapTS2Record))
        return text;
    constexpr std::size_t kBegin = recorder::Sink::Path();
    constexpr std::size_t kEnd = kBegin + moxpvr::kTextFieldSize;
    if (bytes.size() < kEnd)
        bytes.resize(kEnd);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(kBegin);
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(kEnd - 1);
    const std::string path(begin, std::find(begin, end, 0));
    const moxpvr::TextField field = PathField(paths.InDirectory(path));
    std::copy(std::begin(field.text), std::end(field.text), begin);
    return HexOf(bytes);
}

/// Sends the items one after the other and shows what became of them.
class Replayer {
  public:
    Replayer(const ReplayOptions &options, const std::string &directory, const Console &console)
        : m_options(options), m_terminal(console.terminal), m_paths(directory) {
        ShowRequests(m_pvr, console);
    }

    void Run(const std::vector<Item> &items) {
        m_terminal.Line("  line  log         desk        request", Style::Title);
        double position = items.front().position;
        for (const Item &item : items) {
            if (m_options.keepsPace && item.position > position)
                Wait(item.position - position);
            position = item.position;
            if (StopRequested())
                break;
            if (item.isRegistration || !m_recording)
                Register();
            if (!item.isRegistration)
                Replay(item);
        }
        ShowRepeats();
        ShowEvents(std::chrono::milliseconds(0));
        m_terminal.Line(std::to_string(m_sent) + " sent, " + std::to_string(m_unsent) +
                        " not sent, " + std::to_string(m_different) +
                        " with another result than in the log");
    }

  private:
    void Register() {
        ShowRepeats();
        m_recording.reset();  // one at a time: the library is told of the end of the first
        m_recording.emplace(
            m_pvr, tvdesktop::RecorderOptions{m_options.input, m_options.keepsPace ? 1.0 : 0.0});
        ShowEvents(std::chrono::milliseconds(0));  // of the recorder before
        m_hasEnded = false;
    }

    /// Events go on while the log has nothing to send.
    void Wait(double seconds) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (std::chrono::steady_clock::now() < end && !StopRequested()) {
            const std::chrono::duration<double> rest = end - std::chrono::steady_clock::now();
            std::this_thread::sleep_for(std::min(rest, std::chrono::duration<double>(0.05)));
        }
    }

    void Replay(const Item &item) {
        if (!item.obstacle.empty()) {
            ++m_unsent;
            Show(item, "not sent", item.obstacle);
            return;
        }
        const Bytes bytes = BytesOf(item.text);
        const std::uint32_t command = moxpvr::CommandOf(bytes.data(), bytes.size());
        const RecordLayout *layout = FindLayout(RecordKind::Recorder, command);
        const Request request(Side::Recorder, command,
                              layout != nullptr ? layout->name.c_str() : "unknown",
                              Redirected(item.text, m_paths));
        const Reply reply = m_pvr.Send(request);
        ++m_sent;
        const std::string result = std::to_string(static_cast<std::int32_t>(reply.result));
        const bool isOther = !item.outcome.empty() && item.outcome != result &&
                             item.outcome.find("refused") == std::string::npos;
        m_different += isOther ? 1 : 0;
        Show(item, result, RequestSummary(request), isOther);
        if (isOther)
            ExplainDifference();
        else
            ShowEvents(std::chrono::milliseconds(0));
    }

    /// A recorder that has ended by itself refuses what the log's recorder still did.
    void ExplainDifference() {
        // The recorder reports its end on a thread of its own, perhaps after the refusal.
        constexpr std::chrono::milliseconds kPatience(100);
        ShowEvents(kPatience);
        if (!m_hasEnded)
            return;
        ShowRepeats();
        m_terminal.Line(std::string("        the recording had ended by itself") +
                            (m_options.keepsPace ? "" : ": without --pace it does so early"),
                        Style::Faint);
    }

    void Show(const Item &item, const std::string &desk, const std::string &what,
              bool isOther = false) {
        const std::string outcome = item.outcome.empty() ? "-" : item.outcome;
        const std::string key = outcome + desk + what;
        if (key == m_last) {
            ++m_repeats;
            return;
        }
        ShowRepeats();
        m_last = key;
        std::ostringstream text;
        text << std::setw(6) << item.line << "  " << std::left << std::setw(12) << outcome
             << std::setw(12) << desk << Printable(what);
        m_terminal.Line(text.str(), isOther ? Style::Bad : Style::Plain);
    }

    void ShowRepeats() {
        if (m_repeats > 0)
            m_terminal.Line("        the same " + std::to_string(m_repeats) + " times more",
                            Style::Faint);
        m_repeats = 0;
        m_last.clear();
    }

    void ShowEvents(std::chrono::milliseconds patience) {
        for (const tvdesktop::Event &event : m_pvr.Take(patience)) {
            m_hasEnded = m_hasEnded || IsDetail(event, kRecordingEnded);
            ShowRepeats();
            m_terminal.Line("        event " + EventText(event), Style::Faint);
        }
    }

    const ReplayOptions &m_options;
    Terminal &m_terminal;
    Paths m_paths;
    PvrService m_pvr;
    std::optional<RecordingControl> m_recording;
    bool m_hasEnded = false;  ///< the recording, by itself
    std::string m_last;
    std::size_t m_repeats = 0;
    std::size_t m_sent = 0;
    std::size_t m_unsent = 0;
    std::size_t m_different = 0;
};

}  // namespace

void RunReplay(const ReplayOptions &options, const Console &console) {
    CatchStopSignals();
    const log::Session session = SessionOfLog(options.log);
    const std::vector<Item> items = ItemsOf(session);
    const bool canSend = std::any_of(items.begin(), items.end(), [](const Item &item) {
        return !item.isRegistration && item.obstacle.empty();
    });
    if (!canSend)
        throw Failure("cannot replay " + session.name +
                      ": it has no whole request of the recorder; a log of priority 4 and above, "
                      "not cut, has them");
    if (options.keepsPace && !session.hasTime)
        throw Failure("cannot keep the pace of " + session.name +
                      ": its lines have no time stamps; leave out --pace");
    ServicesOf(options.input);  // names what is wrong with it; requests answer a number only
    const OutputDirectory directory(options.directory, "the replay");
    for (const std::string &mixed : log::MixedTexts(session))
        console.terminal.Line(mixed, Style::Bad);
    Replayer(options, directory.Path(), console).Run(items);
    if (!options.directory.empty())
        console.terminal.Line("the recordings are in " + options.directory);
}

}  // namespace tool
