/// @file
/// Stream time around a place of a recording, counted anew from a known point.
#ifndef TVDESKTOP_PLAYER_LOCALCLOCK_H
#define TVDESKTOP_PLAYER_LOCALCLOCK_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "ts/StreamClock.h"
#include "ts/TimeIndex.h"

namespace tvdesktop {

/// Counts the PCRs that are read on from a point. The points after it tell whether the count is
/// right; where it is not, theirs holds from there on. Threads: thread-bound.
class LocalClock {
  public:
    /// @param start  one of the points; null: the first byte of the recording
    LocalClock(const std::vector<ts::TimePoint> &points, const ts::TimePoint *start)
        : m_next(start != nullptr ? start : points.data()), m_end(points.data() + points.size()) {
        if (start == nullptr)
            return;
        m_clock.FollowPid(start->pid);
        m_clock.Advance(start->pcr);
        m_ticks = m_base = start->ticks;
    }

    void FollowPid(std::uint16_t pid) { m_clock.FollowPid(pid); }

    /// @return whether the packet has a PCR that counts
    bool Count(const std::uint8_t *packet, std::uint64_t offset) {
        if (ts::TransportError(packet) || !m_clock.Count(packet))
            return false;
        m_ticks = m_base + m_clock.Ticks();
        for (; m_next != m_end && m_next->offset <= offset; ++m_next) {
            m_hasMetPoints = m_hasMetPoints && m_next->offset == offset &&
                             m_next->pcr == ts::Pcr(packet) && m_next->ticks == m_ticks;
            m_ticks = m_next->ticks;
            m_base = m_ticks - m_clock.Ticks();
        }
        if (m_next != m_end)
            m_ticks = std::min(m_ticks, m_next->ticks);
        return true;
    }

    double Milliseconds() const { return ts::ToMilliseconds(m_ticks); }
    /// @return whether every point that was passed is where and when it was expected
    bool HasMetPoints() const { return m_hasMetPoints; }

  private:
    ts::StreamClock m_clock;
    std::int64_t m_base = 0;  ///< stream time at which m_clock began
    std::int64_t m_ticks = 0;
    const ts::TimePoint *m_next;  ///< not passed yet
    const ts::TimePoint *m_end;
    bool m_hasMetPoints = true;
};

/// Gives units their times: between two PCRs time runs with the bytes (ISO/IEC 13818-1, 2.4.2.2).
/// Threads: thread-bound.
class UnitTimes {
  public:
    /// @param from          time of the unit that is looked for, at least
    /// @param milliseconds  at the place from which on units are passed
    UnitTimes(double from, double milliseconds, std::uint64_t offset)
        : m_from(from), m_time(milliseconds), m_offset(offset) {}

    void Pass(std::uint64_t offset) { m_units.push_back(offset); }

    /// Takes the next PCR.
    /// @return the time of the first unit before it that is not too early
    std::optional<double> Reach(double time, std::uint64_t offset) {
        std::optional<double> found;
        for (const std::uint64_t unit : m_units) {
            const double share =
                static_cast<double>(unit - m_offset) / static_cast<double>(offset - m_offset);
            const double unitTime = m_time + share * (time - m_time);
            if (!found && unitTime >= m_from)
                found = unitTime;
        }
        m_units.clear();
        m_time = time;
        m_offset = offset;
        return found;
    }

  private:
    double m_from;
    double m_time;
    std::uint64_t m_offset;
    std::vector<std::uint64_t> m_units;
};

}  // namespace tvdesktop

#endif
