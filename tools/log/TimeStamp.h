/// @file
/// Time stamps of log lines, as the usual log systems write them.
#ifndef TOOLS_LOG_TIMESTAMP_H
#define TOOLS_LOG_TIMESTAMP_H

#include <optional>
#include <string_view>

namespace tool::log {

/// Reads what comes before the library's part of a line: dates and times of ISO 8601, syslog and
/// logcat, times of day, and seconds with a fraction.
///
/// Threads: thread-bound.
class TimeReader {
  public:
    /// @param prefix  of a line
    /// @return seconds after the first time stamp; of a line without one those of the line before,
    ///         and nothing before the first
    std::optional<double> Read(std::string_view prefix);

  private:
    enum class Form { None, Date, MonthAndDay, TimeOfDay, Seconds };
    struct Stamp {
        Form form = Form::None;
        double seconds = 0;  ///< from the start of the form's own time
    };

    static Stamp Find(std::string_view prefix);

    Form m_form = Form::None;  ///< that of the first; others are not comparable
    double m_first = 0;
    double m_previous = 0;  ///< as read
    double m_wrapped = 0;   ///< added since a time of day passed midnight, a date the year's end
    double m_now = 0;
};

}  // namespace tool::log

#endif
