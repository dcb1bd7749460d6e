/// @file
/// Stream time from program clock references.
#ifndef TVDESKTOP_TS_STREAMCLOCK_H
#define TVDESKTOP_TS_STREAMCLOCK_H

#include <cstdint>
#include <optional>

namespace tvdesktop::ts {

/// Turns the PCRs of one PID at a time into a stream time that starts at 0 and never runs back:
/// a wrap of the 33-bit base counts on, a jump (backwards, or by more than ten seconds) counts as
/// no time at all, and another PCR PID goes on from where the last one stood. The recorder and the
/// player use the same rule, so that a position means the same place to both.
///
/// Threads: thread-bound.
class StreamClock {
  public:
    /// Follows another PID from the next PCR on; the same PID changes nothing.
    void FollowPid(std::uint16_t pid);
    std::uint16_t pid() const { return m_pid; }

    /// @param pcr  27 MHz ticks of a packet of the followed PID
    void Advance(std::int64_t pcr);

    /// @return stream time in ticks of 27 MHz since the first PCR
    std::int64_t ticks() const { return m_ticks; }
    /// @return stream time in milliseconds
    std::int64_t milliseconds() const;

  private:
    std::uint16_t m_pid = 0x1FFF;
    std::optional<std::int64_t> m_last;
    std::int64_t m_ticks = 0;
};

}  // namespace tvdesktop::ts

#endif
