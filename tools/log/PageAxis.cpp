#include "log/PageAxis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "log/Markup.h"

namespace tool::log {

namespace {

constexpr double kMostTicks = 13;
constexpr double kMostSeconds = 1e12;

double Bounded(double seconds) {
    return seconds > -kMostSeconds ? std::min(seconds, kMostSeconds) : -kMostSeconds;
}

std::string Padded(std::int64_t number, int digits) {
    std::string text = std::to_string(number);
    const std::size_t width = static_cast<std::size_t>(digits);
    return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

}  // namespace

PageAxis::PageAxis(const Session &session) : m_hasTime(session.hasTime) {
    double latest = 0;
    m_positions.reserve(session.lines.size());
    for (const Line &line : session.lines) {
        const double position =
            m_hasTime ? Bounded(line.time.value_or(latest)) : static_cast<double>(line.number);
        latest = m_positions.empty() ? position : std::max(latest, position);
        m_positions.push_back(latest);
    }
    if (m_positions.empty())
        return;
    m_start = m_positions.front();
    if (m_positions.back() > m_start)
        m_length = m_positions.back() - m_start;
}

double PageAxis::FractionOf(std::size_t line) const {
    if (m_positions.empty())
        return 0;
    return (m_positions[std::min(line, m_positions.size() - 1)] - m_start) / m_length;
}

std::string PageAxis::TextOf(std::size_t line) const {
    if (m_positions.empty())
        return "";
    const double position = m_positions[std::min(line, m_positions.size() - 1)];
    return m_hasTime ? ClockText(position, 3)
                     : "line " + Grouped(static_cast<std::size_t>(position));
}

const std::vector<double> &PageAxis::Steps() {
    static const std::vector<double> steps = {
        0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1,  0.2,  0.5,   1,     2,     5,     10,
        15,    30,    60,    120,  300,  600,  1800, 3600, 10800, 21600, 43200, 86400, 604800};
    return steps;
}

double PageAxis::Step() const {
    if (m_hasTime) {
        for (const double step : Steps())
            if (m_length / step <= kMostTicks)
                return step;
    }
    for (double step = 1;; step *= 10)
        for (const double part : {1.0, 2.0, 5.0})
            if (m_length / (step * part) <= kMostTicks)
                return step * part;
}

std::string PageAxis::TickText(double position, double step) const {
    if (!m_hasTime)
        return Grouped(static_cast<std::size_t>(position));
    const int decimals = step >= 1 ? 0 : step >= 0.1 ? 1 : step >= 0.01 ? 2 : 3;
    return ClockText(position, decimals);
}

std::string Percent(double fraction) {
    const std::int64_t thousandths = std::llround(std::min(std::max(fraction, 0.0), 1.0) * 100'000);
    return std::to_string(thousandths / 1000) + "." + Padded(thousandths % 1000, 3) + "%";
}

std::string ClockText(double seconds, int decimals) {
    std::int64_t unit = 1;
    for (int i = 0; i < decimals; ++i)
        unit *= 10;
    const double shown = Bounded(seconds);
    const std::int64_t ticks = std::llround(std::abs(shown) * static_cast<double>(unit));
    const std::int64_t whole = ticks / unit;
    std::string text = shown < 0 && ticks > 0 ? "-" : "";
    if (whole >= 3600)
        text += std::to_string(whole / 3600) + ":" + Padded(whole / 60 % 60, 2);
    else
        text += std::to_string(whole / 60);
    text += ":" + Padded(whole % 60, 2);
    return decimals > 0 ? text + "." + Padded(ticks % unit, decimals) : text;
}

}  // namespace tool::log
