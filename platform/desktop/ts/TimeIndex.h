/// @file
/// The PCRs from which a recording's stream time follows.
#ifndef TVDESKTOP_TS_TIMEINDEX_H
#define TVDESKTOP_TS_TIMEINDEX_H

#include <cstdint>
#include <optional>
#include <vector>

#include "ts/TsPacket.h"

namespace tvdesktop::ts {

/// Bytes that a player reads where the index has no more; it takes samples of what is longer.
inline constexpr std::uint64_t kMostUnindexed = 64 << 20;

/// A PCR of a recording and the stream time there.
struct TimePoint {
    std::uint64_t offset = 0;  ///< of its packet
    std::uint16_t pid = kNullPid;
    std::int64_t pcr = 0;    ///< 27 MHz ticks, as in the packet
    std::int64_t ticks = 0;  ///< stream time; side files leave it out, since it follows
};

/// Keeps about one PCR per second of stream time, so that StreamClock counts the same time from
/// those that are kept as from all: on both sides of a jump, of a change of the PID and of whatever
/// else counts as no time, both PCRs are kept.
///
/// Threads: thread-bound.
class TimeIndex {
  public:
    /// Takes every PCR that a StreamClock has counted, in order.
    void Count(const TimePoint &point);
    /// Keeps the last PCR, since the next may be counted by another rule.
    void Break();
    /// Keeps a point that follows the others in any case.
    void Add(const TimePoint &point);
    /// Keeps a point between two others.
    void Insert(const TimePoint &point);

    /// @return what is kept, offsets rising
    const std::vector<TimePoint> &Points() const { return m_points; }
    /// @return what was kept since the last call, and no longer here
    std::vector<TimePoint> Take();
    void Clear() { *this = {}; }

    /// @return the number of the first point at or after a place, or of none
    std::size_t FirstAt(std::uint64_t offset) const;
    /// @return the same for a stream time in milliseconds
    std::size_t FirstAtTime(double milliseconds) const;

  private:
    std::vector<TimePoint> m_points;
    std::optional<TimePoint> m_kept;  ///< the last one
    std::optional<TimePoint> m_last;  ///< counted last, kept or not
};

/// Stream time in milliseconds, as positions are given.
inline double ToMilliseconds(std::int64_t ticks) {
    return static_cast<double>(ticks) * 1000.0 / static_cast<double>(kPcrHz);
}

}  // namespace tvdesktop::ts

#endif
