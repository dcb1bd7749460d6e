#include "log/PageStory.h"

#include <algorithm>
#include <array>

#include "log/Markup.h"

namespace tool::log {

namespace {

constexpr std::size_t kMostText = 1'000;      // bytes of a line's message
constexpr std::size_t kChapterSteps = 1'000;  // a longer story is folded into chapters
constexpr std::size_t kBriefValues = 6;       // shown without unfolding
constexpr std::size_t kMostDepth = 8;         // deeper steps are shown at this depth

void AppendElement(std::string &markup, const char *name, const char *kind,
                   const std::string &text) {
    markup.append("<").append(name).append(" class=\"").append(kind).append("\">");
    markup.append(Escaped(text)).append("</").append(name).append(">");
}

std::string Brief(const std::vector<Value> &values) {
    std::string text;
    for (std::size_t i = 0; i < std::min(values.size(), kBriefValues); ++i)
        text += (i > 0 ? " \u00b7 " : "") + values[i].first + " " + values[i].second;
    return values.size() > kBriefValues ? text + " \u2026" : text;
}

void AppendValues(std::string &markup, const std::vector<Value> &values) {
    if (values.empty())
        return;
    markup += "<dl>";
    for (const Value &value : values) {
        markup.append("<div><dt>").append(Escaped(value.first)).append("</dt><dd>");
        markup.append(Escaped(value.second)).append("</dd></div>");
    }
    markup += "</dl>\n";
}

}  // namespace

KindText TextOf(StepKind kind) {
    static const std::array<KindText, 10> texts = {{{"request", "request"},
                                                    {"direct call", "operation"},
                                                    {"platform call", "call"},
                                                    {"callback", "callback"},
                                                    {"event", "event"},
                                                    {"value", "value"},
                                                    {"state", "state"},
                                                    {"refusal", "refusal"},
                                                    {"trace", "trace"},
                                                    {"unknown", "unknown"}}};
    return texts.at(static_cast<std::size_t>(kind));
}

PageStory::PageStory(const Session &session, const PageAxis &axis, std::size_t mostLines)
    : m_session(session),
      m_axis(axis),
      m_lines(session.steps.size()),
      m_isWritten(session.steps.size(), true) {
    for (std::size_t line = 0; line < session.stepOf.size(); ++line)
        m_lines.at(session.stepOf[line]).push_back(line);
    Select(mostLines);
}

/// Keeps what fits, and whatever holds a failure.
void PageStory::Select(std::size_t mostLines) {
    std::size_t lines = 0;
    for (std::size_t first = 0; first < m_session.steps.size();) {
        const std::size_t end = EndOf(first);
        bool hasFailure = false;
        for (std::size_t step = first; step < end; ++step) {
            lines += m_lines[step].size();
            hasFailure = hasFailure || m_session.steps[step].isFailure;
        }
        for (; first < end; ++first) {
            m_isWritten[first] = hasFailure || lines <= mostLines;
            m_leftOut += m_isWritten[first] ? 0U : 1U;
        }
    }
}

/// @return the step after those that this one caused
std::size_t PageStory::EndOf(std::size_t step) const {
    const std::size_t depth = m_session.steps[step].depth;
    std::size_t end = step + 1;
    while (end < m_session.steps.size() && m_session.steps[end].depth > depth)
        ++end;
    return end;
}

std::string PageStory::LinkTo(std::size_t step) const {
    if (step >= m_isWritten.size() || !m_isWritten[step])
        return "#left-out";
    return "#s" + std::to_string(step);
}

std::string PageStory::LinkToLine(std::size_t line) const {
    return LinkTo(m_session.stepOf.at(line));
}

/// A character is kept whole or left out.
std::string PageStory::Shortened(const std::string &message) {
    if (message.size() <= kMostText)
        return message;
    std::size_t size = kMostText;
    while (size > 0 && (static_cast<unsigned char>(message[size]) & 0xc0U) == 0x80U)
        --size;
    return message.substr(0, size) + " \u2026 and " + Grouped(message.size() - size) +
           " bytes more in the log";
}

std::size_t PageStory::CauseOf(std::size_t step) const {
    while (step > 0 && m_session.steps[step].depth > 0)
        --step;
    return step;
}

std::string PageStory::LineText(std::size_t index) const {
    const Line &line = m_session.lines[index];
    std::string text = std::to_string(line.number) + "  ";
    if (line.time)
        text += ClockText(*line.time, 3) + "  ";
    text += line.file + ": " + line.function + "(" + std::to_string(line.sourceLine) + ")  ";
    text += Shortened(line.message);
    return line.isCut ? text + "\u2026 (cut in the log)" : text;
}

std::string PageStory::Text() const {
    const std::vector<Chapter> chapters = Chapters();
    std::string markup;
    for (const Chapter &chapter : chapters) {
        if (chapters.size() == 1) {
            AppendSteps(markup, chapter.firstStep, chapter.endStep);
            continue;
        }
        const Step &first = m_session.steps[chapter.firstStep];
        const Step &last = m_session.steps[chapter.endStep - 1];
        markup += "<details class=\"chapter\"><summary>";
        markup += Escaped("From " + m_axis.TextOf(first.firstLine) + " to " +
                          m_axis.TextOf(last.lastLine) + ": " +
                          Counted(chapter.endStep - chapter.firstStep, "step"));
        markup += "</summary>\n";
        AppendSteps(markup, chapter.firstStep, chapter.endStep);
        markup += "</details>\n";
    }
    return markup;
}

std::vector<PageStory::Chapter> PageStory::Chapters() const {
    const std::size_t count = m_session.steps.size();
    std::vector<Chapter> chapters;
    for (std::size_t step = 0; step < count; step = EndOf(step)) {
        if (chapters.empty() || step - chapters.back().firstStep >= kChapterSteps)
            chapters.push_back({step, step});
        chapters.back().endStep = EndOf(step);
    }
    return chapters;
}

void PageStory::AppendSteps(std::string &markup, std::size_t first, std::size_t end) const {
    markup += "<ol class=\"steps\">\n";
    for (std::size_t step = first; step < end;)
        step = m_isWritten[step] ? Append(markup, step) : EndOf(step);
    markup += "</ol>\n";
}

/// Appends a step and those that it caused.
/// @return the step after them
std::size_t PageStory::Append(std::string &markup, std::size_t index) const {
    const Step &step = m_session.steps[index];
    const std::size_t end = EndOf(index);
    markup += "<li id=\"s" + std::to_string(index) + "\" class=\"step ";
    markup += TextOf(step.kind).shape;
    markup += step.isFailure ? " failure\">" : "\">";
    markup += "<details><summary>";
    AppendSummary(markup, step);
    markup += "</summary>\n<div class=\"body\">";
    AppendValues(markup, step.values);
    AppendLines(markup, index);
    if (end > index + 1 && step.depth < kMostDepth)
        AppendSteps(markup, index + 1, end);
    markup += "</div></details></li>\n";
    return step.depth < kMostDepth ? end : index + 1;
}

void PageStory::AppendSummary(std::string &markup, const Step &step) const {
    AppendElement(markup, "span", "at", m_axis.TextOf(step.firstLine));
    AppendElement(markup, "span", "kind", TextOf(step.kind).name);
    markup += "<span class=\"what\">";
    AppendElement(markup, "b", "title", step.title);
    if (step.count > 1)
        AppendElement(markup, "span", "count", "\u00d7 " + Grouped(step.count));
    if (!step.values.empty())
        AppendElement(markup, "span", "brief", Brief(step.values));
    markup += "</span>";
    if (step.isCut)
        markup += "<span class=\"cut\">incomplete in the log</span>";
    if (!step.outcome.empty())
        AppendElement(markup, "span", "outcome", step.outcome);
}

/// The lines of what was repeated differ little: those after the first are folded.
void PageStory::AppendLines(std::string &markup, std::size_t index) const {
    const Step &step = m_session.steps[index];
    const std::vector<std::size_t> &lines = LinesOf(index);
    if (lines.empty())
        return;
    const std::size_t shown =
        std::max<std::size_t>(1, lines.size() / std::max<std::size_t>(1, step.count));
    const auto append = [&](std::size_t from, std::size_t to) {
        markup += "<pre>";
        for (std::size_t i = from; i < to; ++i)
            markup += Escaped(LineText(lines[i])) + "\n";
        markup += "</pre>\n";
    };
    append(0, shown);
    if (shown == lines.size())
        return;
    markup += "<details class=\"repeats\"><summary>" + Counted(lines.size() - shown, "more line") +
              " of the repeats</summary>\n";
    append(shown, lines.size());
    markup += "</details>\n";
}

}  // namespace tool::log
