/// @file
/// The steps of a log in words, each with its values and its lines.
#ifndef TOOLS_LOG_PAGESTORY_H
#define TOOLS_LOG_PAGESTORY_H

#include <cstddef>
#include <string>
#include <vector>

#include "log/PageAxis.h"
#include "log/Session.h"

namespace tool::log {

/// What a kind of step is called, and the class that gives it its shape.
struct KindText {
    const char *name;
    const char *shape;
};
KindText TextOf(StepKind kind);

/// Which steps a page has, and which lines belong to each.
///
/// Keeps a reference to the session and the axis.
class PageStory {
  public:
    /// @param mostLines  after so many lines only what holds a failure is written
    PageStory(const Session &session, const PageAxis &axis, std::size_t mostLines);

    /// @return the story as markup
    std::string Text() const;
    /// @return where a link to a step leads: to the step, or to the note about what was left out
    std::string LinkTo(std::size_t step) const;
    /// @return where a link to what a line says leads
    std::string LinkToLine(std::size_t line) const;
    /// @return the step that the service or the platform asked for, which led to this one
    std::size_t CauseOf(std::size_t step) const;
    /// @return the lines that belong to a step and to none that it caused
    const std::vector<std::size_t> &LinesOf(std::size_t step) const { return m_lines[step]; }
    /// @return steps that the page does not have, as it would be too large
    std::size_t LeftOut() const { return m_leftOut; }
    /// @return a message of any length as the page has it
    static std::string Shortened(const std::string &message);

  private:
    struct Chapter {
        std::size_t firstStep;
        std::size_t endStep;  // the one after the last
    };

    void Select(std::size_t mostLines);
    std::vector<Chapter> Chapters() const;
    std::size_t EndOf(std::size_t step) const;
    std::string LineText(std::size_t line) const;
    std::size_t Append(std::string &markup, std::size_t step) const;
    void AppendSteps(std::string &markup, std::size_t first, std::size_t end) const;
    void AppendSummary(std::string &markup, const Step &step) const;
    void AppendLines(std::string &markup, std::size_t step) const;

    const Session &m_session;
    const PageAxis &m_axis;
    std::vector<std::vector<std::size_t>> m_lines;  // per step
    std::vector<bool> m_isWritten;                  // per step
    std::size_t m_leftOut = 0;
};

}  // namespace tool::log

#endif
