#include "log/SessionText.h"

#include <algorithm>
#include <cstdio>

#include "text/Printable.h"
#include "text/TableText.h"

namespace tool::log {

namespace {

constexpr std::size_t kMostMissing = 40;
constexpr std::size_t kLongestValue = 300;

std::string TimeColumn(const Session &session, const Step &step) {
    char text[48];
    if (session.hasTime)
        std::snprintf(text, sizeof text, "%10.3f", PositionOf(session, step.firstLine));
    else
        std::snprintf(text, sizeof text, "%10zu", session.lines[step.firstLine].number);
    return text;
}

std::string Shortened(const std::string &text) {
    return text.size() <= kLongestValue
               ? text
               : text.substr(0, kLongestValue) + "… (" + std::to_string(text.size()) + " bytes)";
}

std::string StepText(const Session &session, const Step &step) {
    const bool isCalled = step.kind == StepKind::PlatformCall;
    std::string text = TimeColumn(session, step) + "  " + std::string(2 * step.depth, ' ');
    if (step.depth == 0)
        text += std::string(SideName(step.side)) + " ";
    if (step.kind == StepKind::Callback && step.depth == 0)
        text += "callback ";
    text += Printable(step.title);
    if (step.kind == StepKind::Unknown)
        text += step.isCut ? ": a line that is cut too early to tell its message"
                           : ": a line that no message of this version matches";
    if (step.count > 1)
        text += " x " + std::to_string(step.count);
    const std::string values = ValuesText(step);
    if (!values.empty())
        text += "  " + values;
    if (!step.outcome.empty())
        text += std::string(isCalled ? " = " : " -> ") + Printable(step.outcome);
    if (step.isCut)
        text += "  (cut)";
    return text;
}

Style StyleOf(const Step &step) {
    if (step.isFailure)
        return Style::Bad;
    if (step.kind == StepKind::Trace)
        return Style::Faint;
    return step.depth == 0 && step.kind == StepKind::Request ? Style::Title : Style::Plain;
}

void WriteHead(const Session &session, const TextSink &write) {
    write(Printable(session.name) + ": " + CountText(session.lines.size(), "line") +
              " of the library, " + std::to_string(session.foreignLines) + " of others" +
              (session.hasTime ? "" : "; without time stamps: the first column is the line"),
          Style::Title);
    for (const std::string &mixed : MixedTexts(session))
        write(mixed, Style::Bad);
    if (!session.hasTime)
        return;
    const auto [first, last] = std::minmax_element(
        session.lines.begin(), session.lines.end(), [](const Line &left, const Line &right) {
            return left.time.value_or(0) < right.time.value_or(0);
        });
    char span[64];
    std::snprintf(span, sizeof span, "%.3f s, from the first time stamp on",
                  last->time.value_or(0) - first->time.value_or(0));
    write(span, Style::Plain);
}

void WriteFailures(const Session &session, const TextSink &write) {
    write("", Style::Plain);
    if (session.unclearLines > 0)
        write(CountText(session.unclearLines, "line") +
                  " of the library cut or not understood: a failure there may not be shown",
              Style::Bad);
    if (session.failures.empty()) {
        if (session.unclearLines == 0)
            write("no failures", Style::Good);
        else if (session.unclearLines < session.lines.size())
            write("no failures in the other lines", Style::Plain);
        return;
    }
    write(CountText(session.failures.size(), "failure"), Style::Bad);
    for (const std::size_t at : session.failures) {
        const Step &step = session.steps[at];
        std::size_t asked = at;
        while (asked > 0 && session.steps[asked].depth > 0)
            --asked;
        const std::string in = asked == at ? "" : ", in " + Printable(session.steps[asked].title);
        write("  line " + std::to_string(session.lines[step.firstLine].number) + in + ":" +
                  StepText(session, step).substr(TimeColumn(session, step).size()),
              Style::Bad);
    }
}

void WriteMissing(const Session &session, const TextSink &write) {
    if (session.missing.empty())
        return;
    write("", Style::Plain);
    write("missing from the log: " + std::to_string(session.missing.size()), Style::Bad);
    for (std::size_t i = 0; i < session.missing.size() && i < kMostMissing; ++i)
        write("  " + Printable(session.missing[i]), Style::Plain);
    if (session.missing.size() > kMostMissing)
        write("  and " + std::to_string(session.missing.size() - kMostMissing) +
                  " more (--json has all of them)",
              Style::Plain);
}

}  // namespace

void WriteText(const Session &session, const TextSink &write) {
    WriteHead(session, write);
    WriteFailures(session, write);
    write("", Style::Plain);
    for (const Step &step : session.steps)
        write(StepText(session, step), StyleOf(step));
    WriteMissing(session, write);
}

const char *KindName(StepKind kind) {
    static constexpr const char *kNames[] = {"Request", "Operation", "PlatformCall", "Callback",
                                             "Event",   "Value",     "State",        "Refusal",
                                             "Trace",   "Unknown"};
    return kNames[static_cast<std::size_t>(kind)];
}

const char *LaneName(Lane lane) {
    static constexpr const char *kNames[] = {"RecorderState", "PlaybackState", "Rate",
                                             "VideoMute",     "SoundMute",     "Channel"};
    return kNames[static_cast<std::size_t>(lane)];
}

const char *SideName(Side side) {
    return side == Side::Recorder ? "recorder" : "playback";
}

std::vector<std::string> MixedTexts(const Session &session) {
    std::vector<std::string> texts;
    for (const Side side : session.mixed)
        texts.push_back(std::string("lines of several ") + SideName(side) +
                        "s are mixed and shown as one: states, results and events may be of "
                        "any of them");
    return texts;
}

std::string ValuesText(const Step &step) {
    std::string text;
    for (const auto &[name, value] : step.values)
        text += (text.empty() ? "" : ", ") + name + " " + Printable(Shortened(value));
    return text;
}

}  // namespace tool::log
