/// @file
/// Where things are along the page's axis: by time, or by line number in a log without times.
#ifndef TOOLS_LOG_PAGEAXIS_H
#define TOOLS_LOG_PAGEAXIS_H

#include <cstddef>
#include <string>
#include <vector>

#include "log/Session.h"

namespace tool::log {

class PageAxis {
  public:
    explicit PageAxis(const Session &session);

    bool HasTime() const { return m_hasTime; }
    /// @return seconds or line numbers, from the first line to the last; never 0
    double Length() const { return m_length; }
    /// @return 0 to 1 for a line, by its index; a line without a time is at the one before
    double FractionOf(std::size_t line) const;
    /// @return the first fraction of the axis
    double Start() const { return m_start; }
    /// @return "0:12.345", or "line 12"
    std::string TextOf(std::size_t line) const;
    /// @return the distances that ticks may have
    static const std::vector<double> &Steps();
    /// @return the distance that gives about ten ticks
    double Step() const;
    /// @return "0:12", "0:12.5", "line 1,200": as exact as `step` asks for
    std::string TickText(double position, double step) const;

  private:
    bool m_hasTime;
    std::vector<double> m_positions;  // of each line; never falls
    double m_start = 0;
    double m_length = 1;
};

/// @return a fraction of the axis as SVG takes it: "12.345%"
std::string Percent(double fraction);

/// @return "0:12.345" with so many decimals
std::string ClockText(double seconds, int decimals);

}  // namespace tool::log

#endif
