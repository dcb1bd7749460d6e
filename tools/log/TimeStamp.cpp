#include "log/TimeStamp.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "text/TextParts.h"

namespace tool::log {

namespace {

constexpr double kDay = 86400;
constexpr double kYear = 366 * kDay;  // of the leap year that dates without one are counted in
constexpr int kLeapYear = 2000;

/// Takes parts of a time stamp from the front of a text.
class Parts {
  public:
    explicit Parts(std::string_view text) : m_rest(text) {}

    /// Takes a number of so many digits.
    bool Number(std::size_t fewest, std::size_t most, int &number) {
        std::size_t length = 0;
        int value = 0;
        while (length < m_rest.size() && length < most && IsDigit(m_rest[length]))
            value = 10 * value + (m_rest[length++] - '0');
        if (length < fewest || (length < m_rest.size() && IsDigit(m_rest[length])))
            return false;
        m_rest.remove_prefix(length);
        number = value;
        return true;
    }

    bool AnyOf(std::string_view characters) {
        if (m_rest.empty() || characters.find(m_rest.front()) == std::string_view::npos)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }

    /// Takes ".123" or ",123". @return its worth; 0 where there is none
    double Fraction() {
        if (m_rest.size() < 2 || (m_rest[0] != '.' && m_rest[0] != ',') || !IsDigit(m_rest[1]))
            return 0;
        m_rest.remove_prefix(1);
        double worth = 0;
        for (double place = 0.1; !m_rest.empty() && IsDigit(m_rest.front()); place /= 10) {
            worth += place * (m_rest.front() - '0');
            m_rest.remove_prefix(1);
        }
        return worth;
    }

    bool Month(int &month) {
        static constexpr std::array<std::string_view, 12> kNames = {
            "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
        const auto *found = std::find(kNames.begin(), kNames.end(), m_rest.substr(0, 3));
        if (found == kNames.end())
            return false;
        month = static_cast<int>(found - kNames.begin()) + 1;
        m_rest.remove_prefix(3);
        return true;
    }

  private:
    std::string_view m_rest;
};

/// @return days from 1970-01-01 in the Gregorian calendar
std::int64_t DaysOf(int year, int month, int day) {
    const std::int64_t y = year - (month <= 2 ? 1 : 0);
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

bool IsDate(int month, int day) {
    return month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

/// Takes "hh:mm:ss" with or without a fraction.
bool TakeTime(Parts &parts, double &seconds) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!parts.Number(1, 2, hour) || !parts.AnyOf(":") || !parts.Number(2, 2, minute) ||
        !parts.AnyOf(":") || !parts.Number(2, 2, second))
        return false;
    if (hour > 24 || minute > 59 || second > 60)
        return false;
    seconds = 3600.0 * hour + 60.0 * minute + second + parts.Fraction();
    return true;
}

/// Reads "+hh:mm", "+hhmm" or "+hh". @return seconds to the east; 0 for anything else, "Z" among it
double ReadZone(Parts parts) {
    const bool isEast = parts.AnyOf("+");
    if (!isEast && !parts.AnyOf("-"))
        return 0;
    int hours = 0;
    int minutes = 0;
    if (parts.Number(4, 4, hours)) {
        minutes = hours % 100;
        hours /= 100;
    } else if (parts.Number(2, 2, hours) && parts.AnyOf(":")) {
        parts.Number(2, 2, minutes);
    }
    return (isEast ? 1 : -1) * (3600.0 * hours + 60.0 * minutes);
}

/// "2026-11-23 23:30:10.733", "2026/11/23T23:30:10Z"
bool ReadDate(Parts parts, double &seconds) {
    int year = 0;
    int month = 0;
    int day = 0;
    if (!parts.Number(4, 4, year) || !parts.AnyOf("-/.") || !parts.Number(2, 2, month) ||
        !parts.AnyOf("-/.") || !parts.Number(2, 2, day) || !IsDate(month, day) ||
        !parts.AnyOf("T _") || !TakeTime(parts, seconds))
        return false;
    seconds += kDay * static_cast<double>(DaysOf(year, month, day)) - ReadZone(parts);
    return true;
}

/// "11-23 23:30:10.733", "Nov 23 23:30:10"
bool ReadMonthAndDay(Parts parts, double &seconds) {
    int month = 0;
    int day = 0;
    const bool isNamed = parts.Month(month);
    if (isNamed ? !parts.AnyOf(" ") : !parts.Number(2, 2, month) || !parts.AnyOf("-/"))
        return false;
    if (isNamed)
        parts.AnyOf(" ");
    if (!parts.Number(isNamed ? 1 : 2, 2, day) || !IsDate(month, day) || !parts.AnyOf(" T") ||
        !TakeTime(parts, seconds))
        return false;
    seconds += kDay * static_cast<double>(DaysOf(kLeapYear, month, day));
    return true;
}

bool ReadTimeOfDay(Parts parts, double &seconds) {
    return TakeTime(parts, seconds);
}

/// "12345.678901": a number is a time only with a fraction, as process ids have none.
bool ReadSeconds(Parts parts, double &seconds) {
    int whole = 0;
    if (!parts.Number(1, 9, whole) || !parts.AnyOf(".,"))
        return false;
    int digit = 0;
    Parts fraction = parts;
    if (!fraction.Number(1, 9, digit))
        return false;
    double place = 1;
    int digits = 0;
    for (Parts rest = parts; rest.AnyOf("0123456789"); ++digits)
        place *= 10;
    seconds = whole + digit / place;
    return digits >= 2 && !fraction.AnyOf(".");
}

}  // namespace

TimeReader::Stamp TimeReader::Find(std::string_view prefix) {
    // What is far from the start of a line is not its time.
    constexpr std::size_t kSearched = 128;
    prefix = prefix.substr(0, kSearched);
    constexpr struct {
        Form form;
        bool (*read)(Parts, double &);
    } kForms[] = {{Form::Date, ReadDate},
                  {Form::MonthAndDay, ReadMonthAndDay},
                  {Form::TimeOfDay, ReadTimeOfDay},
                  {Form::Seconds, ReadSeconds}};
    for (std::size_t at = 0; at < prefix.size(); ++at) {
        if (at > 0 && (IsDigit(prefix[at - 1]) || prefix[at - 1] == '.'))
            continue;
        Stamp stamp;
        for (const auto &[form, read] : kForms) {
            if (!read(Parts(prefix.substr(at)), stamp.seconds))
                continue;
            stamp.form = form;
            return stamp;
        }
    }
    return {};
}

std::optional<double> TimeReader::Read(std::string_view prefix) {
    const Stamp stamp = Find(prefix);
    if (m_form == Form::None && stamp.form != Form::None) {
        m_form = stamp.form;
        m_first = m_previous = stamp.seconds;
    }
    if (m_form == Form::None)
        return std::nullopt;
    if (stamp.form != m_form)
        return m_now;
    // Hours back are a day or a year further; less is a clock that was set.
    const double period = m_form == Form::TimeOfDay     ? kDay
                          : m_form == Form::MonthAndDay ? kYear
                                                        : 0;
    if (period > 0 && m_previous - stamp.seconds > period / 2)
        m_wrapped += period;
    m_previous = stamp.seconds;
    // A date in seconds leaves a double some tenths of a microsecond.
    m_now = std::round((stamp.seconds + m_wrapped - m_first) * 1e6) / 1e6;
    return m_now;
}

}  // namespace tool::log
