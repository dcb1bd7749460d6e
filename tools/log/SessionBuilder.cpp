#include "log/SessionBuilder.h"

#include <algorithm>
#include <utility>

#include "log/ByteForm.h"
#include "log/Folding.h"
#include "log/Instances.h"
#include "log/Lanes.h"
#include "log/LogReader.h"
#include "log/Messages.h"
#include "log/Story.h"

namespace tool::log {

namespace {

/// Lines as they were found, with what they say.
struct Reading {
    std::vector<FoundLine> lines;
    std::vector<Match> matches;
    std::size_t foreignLines = 0;
    std::string form;
    bool isFull = false;
};

/// @return whether a line that no message matches has lost the message's end, or all of it
bool IsBeginningOfName(const Line &line) {
    return (line.function + " | ").compare(0, line.message.size(), line.message) == 0;
}

Reading ReadLines(std::istream &log) {
    Reading reading;
    LogReader reader(log);
    for (bool isEnd = false; !isEnd;) {
        for (FoundLine &found : reader.Next(isEnd)) {
            if (reading.lines.size() == kMostLines) {
                reading.isFull = true;
                continue;
            }
            reading.matches.push_back(FindMessage(found.line.message));
            reading.lines.push_back(std::move(found));
        }
    }
    reading.foreignLines = reader.ForeignLines();
    if (reading.lines.empty())
        reading.form = FormOf(reader.FirstBytes());
    return reading;
}

/// A log system cuts every line at the same length: a line of that length that ends in a value may
/// have lost the end of it, although it looks whole.
/// @return that length; nothing where no line is longer than all that are whole
std::size_t CutLength(const Reading &reading) {
    std::size_t longest = 0;
    bool hasLostEnd = false;
    for (std::size_t i = 0; i < reading.lines.size(); ++i) {
        const std::size_t length = reading.lines[i].length;
        const bool isCut = reading.matches[i].isCut;
        if (length > longest)
            hasLostEnd = false;
        if (length >= longest)
            hasLostEnd = hasLostEnd || isCut;
        longest = std::max(longest, length);
    }
    return hasLostEnd ? longest : 0;
}

void MarkCutLines(Reading &reading) {
    const std::size_t cutLength = CutLength(reading);
    for (std::size_t i = 0; i < reading.lines.size(); ++i) {
        FoundLine &found = reading.lines[i];
        Match &match = reading.matches[i];
        const bool hasLostAll = match.message == nullptr && IsBeginningOfName(found.line);
        const bool isOfCutLength = cutLength > 0 && found.length == cutLength;
        const bool mayBeCut = match.endsOpen && (found.isTruncated || isOfCutLength);
        match.isCut = match.isCut || hasLostAll || mayBeCut;
        found.line.isCut = match.isCut || found.isTruncated;
        if (mayBeCut && !match.values.empty())
            match.values.pop_back();
    }
}

/// A step's first and last line; one without lines of its own has those of what it caused.
void SetLines(const Episode &episode, std::size_t at, Step &step) {
    const auto found =
        std::find_if(episode.begin() + static_cast<std::ptrdiff_t>(at), episode.end(),
                     [](const ToldStep &told) { return !told.lines.empty(); });
    if (found == episode.end())
        return;
    const auto [first, last] = std::minmax_element(found->lines.begin(), found->lines.end());
    step.firstLine = *first;
    step.lastLine = *last;
}

void AddEpisode(Episode &episode, Session &session) {
    const std::size_t begin = session.steps.size();
    for (std::size_t at = 0; at < episode.size(); ++at) {
        SetLines(episode, at, episode[at].step);
        for (const std::size_t line : episode[at].lines)
            session.stepOf[line] = begin + at;
        session.steps.push_back(episode[at].step);
    }
}

/// @return whether something that a step caused is a failure, which then says more than the step
bool HasFailureBelow(const Session &session, std::size_t at) {
    for (std::size_t next = at + 1;
         next < session.steps.size() && session.steps[next].depth > session.steps[at].depth; ++next)
        if (session.steps[next].isFailure)
            return true;
    return false;
}

void FindFailures(Session &session) {
    for (std::size_t at = 0; at < session.steps.size(); ++at)
        if (session.steps[at].isFailure && !HasFailureBelow(session, at))
            session.failures.push_back(at);
}

}  // namespace

double PositionOf(const Session &session, std::size_t line) {
    if (!session.hasTime)
        return static_cast<double>(line);
    return session.lines[line].time.value_or(0);
}

Session ReadSession(std::istream &log, const std::string &name) {
    Reading reading = ReadLines(log);
    MarkCutLines(reading);
    Session session;
    session.name = name;
    session.foreignLines = reading.foreignLines;
    session.form = reading.form;
    Story story;
    Instances instances;
    for (std::size_t i = 0; i < reading.lines.size(); ++i) {
        session.lines.push_back(std::move(reading.lines[i].line));
        const Line &line = session.lines.back();
        session.hasTime = session.hasTime || line.time.has_value();
        if (line.isCut || reading.matches[i].message == nullptr)
            ++session.unclearLines;
        instances.Note(line, reading.matches[i], SideOf(line));
        story.Tell(line, i, line.isCut, reading.matches[i]);
    }
    for (const Side side : {Side::Recorder, Side::Playback})
        if (instances.AreMixed(side))
            session.mixed.push_back(side);
    story.End();
    session.stepOf.resize(session.lines.size());
    session.missing = story.Missing();
    if (reading.isFull)
        session.missing.push_back("everything after the first " + std::to_string(kMostLines) +
                                  " lines of the library, which were not read");
    Fold(story.Episodes());
    for (Episode &episode : story.Episodes())
        AddEpisode(episode, session);
    FindFailures(session);
    session.stretches = StretchesOf(session);
    return session;
}

}  // namespace tool::log
