#include "log/Story.h"

#include <MoxPvrProtocol.h>

#include <algorithm>

#include "log/StepValues.h"
#include "text/HexText.h"
#include "text/RecordText.h"

namespace tool::log {

namespace {

/// @return what a line has of a request's text that is cut, which is not among its complete values
std::string CutTextOf(const Line &line) {
    constexpr std::string_view kBegin = "inData[";
    const std::size_t at = line.message.find(kBegin);
    return at != std::string::npos ? line.message.substr(at + kBegin.size()) : "";
}

}  // namespace

/// The line that is being told.
struct Story::Current {
    const Line &line;
    std::size_t index;
    const Match &match;
    Side side;
    bool isCut;

    /// Makes the line one of a step's.
    void AddTo(ToldStep &told) const {
        told.lines.push_back(index);
        told.step.isCut = told.step.isCut || isCut;
    }
    const Message &message() const { return *match.message; }
    const std::string *Find(std::string_view name) const { return ValueOf(match.values, name); }
};

void Story::Tell(const Line &line, std::size_t index, bool isCut, const Match &match) {
    m_numbers.push_back(line.number);
    const Current now{line, index, match, SideOf(line), isCut};
    if (match.message == nullptr) {
        TellAlone(now);
        return;
    }
    m_isUnderstood = true;
    const Role role = now.message().role;
    m_hasProgress = m_hasProgress || role == Role::Command || role == Role::RequestText;
    m_hasTraces =
        m_hasTraces || role == Role::Lookup || (line.message.find("NEW!!!") != std::string::npos);
    switch (role) {
        case Role::Lookup:
            TellLookup(now);
            break;
        case Role::RequestText:
            TellRequestText(now);
            break;
        case Role::Command:
            TellCommand(now);
            break;
        default:
            TellOperation(now);
            break;
    }
}

void Story::End() {
    CloseRequest(Side::Recorder);
    CloseRequest(Side::Playback);
    while (!m_running.empty())
        Close(m_running.size() - 1, false);
    CheckEvents();
    std::stable_sort(m_losses.begin(), m_losses.end(),
                     [](const Loss &left, const Loss &right) { return left.line < right.line; });
}

std::vector<std::string> Story::Missing() const {
    if (!m_hasProgress && m_isUnderstood)
        return {
            "every line of progress: the log has no request, so it was written from a higher "
            "priority on, or begins after them"};
    std::vector<std::string> missing;
    for (const Loss &loss : m_losses)
        if (m_hasTraces || !loss.isOfTrace)
            missing.push_back("line " + std::to_string(loss.line) + ": " + loss.text);
    return missing;
}

// --- Requests ------------------------------------------------------------------------------------

void Story::TellLookup(const Current &now) {
    m_lookup = NewEpisode(StepKind::Trace, "GetRecorderInstance", now);
    AddValues(m_episodes.back().front().step, now.match.values);
}

void Story::TellRequestText(const Current &now) {
    CloseRequest(now.side);
    std::size_t episode = m_episodes.size();
    if (m_lookup) {
        episode = *m_lookup;
        m_lookup.reset();
    } else {
        NewEpisode(StepKind::Request, "", now);
    }
    ToldStep &told = m_episodes[episode].front();
    Step &step = told.step;
    if (told.lines.back() != now.index)
        now.AddTo(told);
    step.kind = StepKind::Request;
    const std::string *text = now.Find("text");
    step.text = text != nullptr ? *text : CutTextOf(now.line);
    step.isCut = step.isCut || text == nullptr;
    const Bytes bytes = BytesOf(step.text);
    const std::uint32_t number = moxpvr::CommandOf(bytes.data(), bytes.size());
    const std::string name = CommandName(now.side, number);
    if (!name.empty())
        step.title = name;
    else
        step.title = bytes.size() >= 4 ? "command " + std::to_string(number) : "request";
    step.values = FieldValues(now.side, step.text);
    const long long size = NumberOf(now.match.values, "size");
    const bool isDecodable =
        size > 0 && size % 2 == 0 && size <= static_cast<long long>(moxpvr::kMaxRequestText);
    if (!isDecodable && !step.isCut) {
        step.outcome = "refused: text of " + std::to_string(size) + " characters";
        step.isFailure = true;
    }
    OpenRequest(now.side) = {episode, false, isDecodable};
    if (!name.empty() && isDecodable)
        Await(episode, name, now.side);
}

void Story::TellCommand(const Current &now) {
    const std::string *text = now.Find("command");
    const long long number = text != nullptr ? NumberOf(now.match.values, "command") : 0;
    const std::string name = CommandName(now.side, number);
    const std::string title = name.empty() ? "command " + (text != nullptr ? *text : "") : name;
    auto &open = OpenRequest(now.side);
    const bool isItsOwn = open && !open->hasCommand && now.side == Side::Recorder &&
                          (m_episodes[open->episode].front().step.title == title ||
                           m_episodes[open->episode].front().step.title == "request");
    if (!isItsOwn) {
        CloseRequest(now.side);
        const std::size_t episode = NewEpisode(StepKind::Request, title, now);
        OpenRequest(now.side) = {episode, true, true};
        if (now.side == Side::Recorder)
            Lose(now.index,
                 "the request line before cmd [" + std::to_string(number) + "] (" + title + ")");
        Await(episode, name, now.side);
        return;
    }
    open->hasCommand = true;
    ToldStep &told = m_episodes[open->episode].front();
    now.AddTo(told);
    if (told.step.title != title) {
        told.step.title = title;
        Await(open->episode, name, now.side);
    }
}

/// The operation of a request is about to begin.
void Story::Await(std::size_t episode, const std::string &command, Side side) {
    const Operation *operation = OperationOf(side, command);
    if (operation == nullptr)
        return;
    for (std::size_t at = m_running.size(); at-- > 0;)
        if (m_running[at].operation == operation)
            Close(at, false);
    m_running.push_back({operation, episode, 0});
}

/// What a request has begun ends before the next one of its side.
void Story::CloseRequest(Side side) {
    auto &open = OpenRequest(side);
    if (open && open->needsCommand && !open->hasCommand &&
        !m_episodes[open->episode].front().step.isFailure)
        Lose(m_episodes[open->episode].front().lines.front(),
             "the cmd line after the request " + m_episodes[open->episode].front().step.title);
    open.reset();
    for (std::size_t at = m_running.size(); at-- > 0;) {
        if (at >= m_running.size())
            continue;  // closed with what called it
        const bool isOfSide = m_episodes[m_running[at].episode].front().step.side == side;
        const StepKind kind = m_episodes[m_running[at].episode].front().step.kind;
        if (isOfSide && kind != StepKind::Callback)
            Close(at, false);
    }
}

// --- Operations ----------------------------------------------------------------------------------

void Story::TellOperation(const Current &now) {
    const auto &open = OpenRequest(now.side);
    const bool isOfDispatcher =
        now.line.function == "CtrlRecorder" || now.line.function == "CtrlPlayback";
    if (isOfDispatcher && open) {
        TellStep(open->episode, 0, now);
        m_episodes[open->episode].front().step.isFailure = true;
        return;
    }
    const Operation *operation = FindOperation(now.line.file, now.line.function);
    if (operation == nullptr) {
        TellAlone(now);
        return;
    }
    TellRole(RunningOf(*operation, now), now);
}

Story::Running *Story::FindRunning(const Operation &operation) {
    for (std::size_t at = m_running.size(); at-- > 0;)
        if (m_running[at].operation == &operation)
            return &m_running[at];
    return nullptr;
}

/// @return the operation that a line belongs to; one that the log has not shown yet begins
Story::Running &Story::RunningOf(const Operation &operation, const Current &now) {
    Running *running = FindRunning(operation);
    const bool isStart = now.message().role == Role::Begin;
    if (running != nullptr && isStart && running->hasLines) {
        Close(static_cast<std::size_t>(running - m_running.data()), false);
        running = nullptr;
    }
    Running &found = running != nullptr ? *running : Begin(operation, now);
    if (!found.hasLines && !isStart && operation.start != Logged::Perhaps &&
        now.message().role != Role::EventOutcome)
        Lose(now.index, "the start of " + now.line.function + ", of which this line is",
             operation.start == Logged::InTrace);
    found.hasLines = true;
    return found;
}

Story::Running &Story::Begin(const Operation &operation, const Current &now) {
    const std::string callers = operation.callers;
    for (std::size_t at = m_running.size(); at-- > 0;) {
        const Running &caller = m_running[at];
        const std::string name = " " + std::string(caller.operation->function) + " ";
        if (callers.find(name) == std::string::npos || now.line.file != caller.operation->file)
            continue;
        Episode &episode = m_episodes[caller.episode];
        ToldStep told;
        told.step.kind = operation.kind;
        told.step.side = now.side;
        told.step.title = operation.function;
        told.step.depth = episode[caller.step].step.depth + 1;
        episode.push_back(std::move(told));
        m_running.push_back({&operation, caller.episode, episode.size() - 1});
        return m_running.back();
    }
    m_episodes.emplace_back();
    ToldStep told;
    told.step.kind = operation.kind;
    told.step.side = now.side;
    told.step.title = operation.function;
    m_episodes.back().push_back(std::move(told));
    m_running.push_back({&operation, m_episodes.size() - 1, 0});
    return m_running.back();
}

void Story::TellRole(Running &running, const Current &now) {
    const Message &message = now.message();
    ToldStep &own = StepOf(running);
    switch (message.role) {
        case Role::Begin:
        case Role::Values:
        case Role::LastValues:
            now.AddTo(own);
            AddValues(own.step, now.match.values);
            running.values += message.role == Role::Begin ? 0 : 1;
            if (own.step.title == "ResetChannel" && message.role == Role::Begin)
                running.values = 0;
            break;
        case Role::End:
            TellEnd(running, now);
            break;
        case Role::EventOutcome:
            TellEventOutcome(running, now);
            break;
        case Role::ListBegin:
        case Role::ListEntry:
        case Role::ListEnd:
            TellList(running, now);
            break;
        default:
            running.isRefused = running.isRefused || message.kind == StepKind::Refusal;
            own.step.isFailure = own.step.isFailure || message.isFailure;
            TellStep(running.episode, running.step, now);
            break;
    }
    const bool isLast = message.role == Role::End || message.role == Role::LastValues ||
                        message.role == Role::LastStep;
    const bool isSentLast = message.role == Role::EventOutcome && running.hasEnded;
    // A recorder that has started reports it after it has said so.
    running.hasEnded = running.hasEnded || message.role == Role::End;
    const bool sendsLater = running.operation->platformCall == std::string("tv_recorder_start");
    if (isSentLast || (isLast && !sendsLater))
        Close(static_cast<std::size_t>(&running - m_running.data()), true);
}

void Story::TellEnd(Running &running, const Current &now) {
    ToldStep &own = StepOf(running);
    const std::string *result = now.Find("result");
    if (result != nullptr)
        SetOutcome(own.step, *result);
    const std::string call = running.operation->platformCall;
    if (call.empty() || result == nullptr) {
        now.AddTo(own);
        return;
    }
    TellStep(running.episode, running.step, now);
    Step &step = m_episodes[running.episode].back().step;
    step.kind = StepKind::PlatformCall;
    step.title = call;
}

void Story::TellStep(std::size_t episode, std::size_t parent, const Current &now) {
    const Message &message = now.message();
    ToldStep told;
    Step &step = told.step;
    step.kind = message.kind;
    step.side = now.side;
    step.title = message.title;
    step.depth = m_episodes[episode][parent].step.depth + 1;
    step.isFailure = message.isFailure;
    AddValues(step, now.match.values);
    if (step.kind == StepKind::Event)
        ExplainEvent(step);
    if (const std::string *result = now.Find("result"))
        SetOutcome(step, *result);
    now.AddTo(told);
    m_episodes[episode].push_back(std::move(told));
}

void Story::TellEventOutcome(Running &running, const Current &now) {
    Episode &episode = m_episodes[running.episode];
    const auto event = std::find_if(episode.rbegin(), episode.rend(), [](const ToldStep &told) {
        return told.step.kind == StepKind::Event;
    });
    const bool isSent = !now.message().isFailure;
    if (event == episode.rend() || !event->step.outcome.empty()) {
        Lose(now.index, "the event that " + now.line.function + " sent: only its outcome is here");
        TellStep(running.episode, running.step, now);
        episode.back().step.kind = StepKind::Event;
        episode.back().step.title = "event";
        episode.back().step.outcome = isSent ? "sent" : "refused";
        return;
    }
    now.AddTo(*event);
    event->step.outcome = isSent ? "sent" : "refused";
    event->step.isFailure = event->step.isFailure || !isSent;
}

void Story::TellList(Running &running, const Current &now) {
    const Role role = now.message().role;
    if (role == Role::ListBegin || !running.list) {
        TellStep(running.episode, running.step, now);
        Episode &episode = m_episodes[running.episode];
        running.list = episode.size() - 1;
        running.nextInList = 0;
        Step &step = episode.back().step;
        step.kind = StepKind::Value;
        step.title = "PIDs of the recorder";
        step.values.clear();
        if (role != Role::ListBegin)
            Lose(now.index, "the first line of the list of PIDs");
    } else {
        now.AddTo(m_episodes[running.episode][*running.list]);
    }
    Step &step = m_episodes[running.episode][*running.list].step;
    if (role == Role::ListEnd)
        running.list.reset();
    if (role != Role::ListEntry || now.match.isCut)
        return;
    const auto index = static_cast<std::size_t>(NumberOf(now.match.values, "index"));
    if (index != running.nextInList)
        Lose(now.index,
             "from the list of PIDs: index " + std::to_string(running.nextInList) +
                 (index > running.nextInList + 1 ? " to " + std::to_string(index - 1) : ""));
    running.nextInList = index + 1;
    step.values.emplace_back(std::to_string(index), *now.Find("pid"));
}

/// A line of no operation that the log shows.
void Story::TellAlone(const Current &now) {
    const Message *message = now.match.message;
    const std::size_t episode =
        NewEpisode(message == nullptr ? StepKind::Unknown : message->kind, now.line.function, now);
    Step &step = m_episodes[episode].front().step;
    if (message == nullptr) {
        step.values.emplace_back("message", now.line.message.substr(0, 200));
        return;
    }
    AddValues(step, now.match.values);
    if (*message->title != '\0')
        step.title = message->title;
    step.isFailure = message->isFailure;
    if (const std::string *result = now.Find("result"))
        SetOutcome(step, *result);
}

// --- Ends ----------------------------------------------------------------------------------------

/// Ends an operation with all that it called and is still running.
void Story::Close(std::size_t at, bool hasEnded) {
    const Running closed = m_running[at];
    if (!hasEnded)
        CheckEnd(closed);
    else if (!closed.isRefused && closed.values < closed.operation->values)
        Lose(FirstLine(closed), std::to_string(closed.operation->values - closed.values) +
                                    " of the " + std::to_string(closed.operation->values) +
                                    " lines of values of " + closed.operation->function);
    if (closed.list)
        Lose(m_episodes[closed.episode][*closed.list].lines.front(),
             "the last line of the list of PIDs");
    m_running.erase(m_running.begin() + static_cast<std::ptrdiff_t>(at));
    const std::size_t depth = m_episodes[closed.episode][closed.step].step.depth;
    for (std::size_t i = m_running.size(); i-- > 0;) {
        if (i >= m_running.size())
            continue;
        const Running &other = m_running[i];
        if (other.episode == closed.episode && other.step > closed.step &&
            m_episodes[other.episode][other.step].step.depth > depth)
            Close(i, false);
    }
}

/// An operation ends without a line of its own that says so.
void Story::CheckEnd(const Running &running) {
    const Operation &operation = *running.operation;
    if (running.isRefused || running.hasEnded || StepOf(running).step.isFailure)
        return;
    const std::string name = operation.function;
    if (!running.hasLines && operation.start != Logged::Perhaps)
        Lose(FirstLine(running),
             "all of " + name + " after its request, or it was refused without a reply buffer",
             operation.start == Logged::InTrace);
    else if (operation.end != Logged::Perhaps)
        Lose(FirstLine(running), "the end of " + name + ", which begins here",
             operation.end == Logged::InTrace);
}

/// Events say whether they were taken.
void Story::CheckEvents() {
    for (const Episode &episode : m_episodes)
        for (const ToldStep &told : episode)
            if (told.step.kind == StepKind::Event && told.step.outcome.empty())
                Lose(told.lines.front(), "whether " + told.step.title + " was taken");
}

void Story::Lose(std::size_t line, const std::string &what, bool isOfTrace) {
    m_losses.push_back({m_numbers[line], what, isOfTrace});
}

// --- Steps ---------------------------------------------------------------------------------------

std::size_t Story::NewEpisode(StepKind kind, const std::string &title, const Current &now) {
    ToldStep told;
    told.step.kind = kind;
    told.step.side = now.side;
    told.step.title = title;
    now.AddTo(told);
    m_episodes.emplace_back();
    m_episodes.back().push_back(std::move(told));
    return m_episodes.size() - 1;
}

ToldStep &Story::StepOf(const Running &running) {
    return m_episodes[running.episode][running.step];
}

/// @return the first line of an operation, be it one of a step that it caused
std::size_t Story::FirstLine(const Running &running) {
    const Episode &episode = m_episodes[running.episode];
    for (std::size_t at = running.step; at < episode.size(); ++at)
        if (!episode[at].lines.empty())
            return episode[at].lines.front();
    return 0;
}

}  // namespace tool::log
