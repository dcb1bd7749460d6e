#include "ts/TimeIndex.h"

#include <algorithm>
#include <utility>

#include "ts/StreamClock.h"

namespace tvdesktop::ts {

namespace {

constexpr std::int64_t kSpacing = kPcrHz;

}  // namespace

void TimeIndex::Count(const TimePoint &point) {
    const bool follows = m_kept && m_kept->pid == point.pid &&
                         StreamClock::Step(m_kept->pcr, point.pcr) == point.ticks - m_kept->ticks;
    if (!follows)
        Break();
    if (!follows || point.ticks - m_kept->ticks >= kSpacing)
        Add(point);
    m_last = point;
}

void TimeIndex::Break() {
    if (m_last && m_last->offset != m_kept->offset)
        Add(*m_last);
}

void TimeIndex::Add(const TimePoint &point) {
    m_points.push_back(point);
    m_kept = m_last = point;
}

void TimeIndex::Insert(const TimePoint &point) {
    m_points.insert(m_points.begin() + static_cast<std::ptrdiff_t>(FirstAt(point.offset)), point);
}

std::vector<TimePoint> TimeIndex::Take() {
    return std::exchange(m_points, {});
}

std::size_t TimeIndex::FirstAt(std::uint64_t offset) const {
    const auto found = std::lower_bound(
        m_points.begin(), m_points.end(), offset,
        [](const TimePoint &point, std::uint64_t value) { return point.offset < value; });
    return static_cast<std::size_t>(found - m_points.begin());
}

std::size_t TimeIndex::FirstAtTime(double milliseconds) const {
    const auto found = std::lower_bound(
        m_points.begin(), m_points.end(), milliseconds,
        [](const TimePoint &point, double value) { return ToMilliseconds(point.ticks) < value; });
    return static_cast<std::size_t>(found - m_points.begin());
}

}  // namespace tvdesktop::ts
