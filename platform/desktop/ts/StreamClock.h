/// @file
/// Stream time from program clock references.
#ifndef TVDESKTOP_TS_STREAMCLOCK_H
#define TVDESKTOP_TS_STREAMCLOCK_H

#include <cstdint>
#include <optional>

#include "ts/TsPacket.h"

namespace tvdesktop::ts {

/// Turns the PCRs of one PID at a time into a stream time that starts at 0 and never runs back:
/// a wrap of the 33-bit base counts on, a jump (backwards, or by more than ten seconds) counts as
/// no time at all, and another PCR PID continues from where the last one ended. The recorder and
/// the player use the same rule, so that a position means the same place to both.
///
/// Threads: thread-bound.
class StreamClock {
  public:
    /// Follows another PID from the next PCR on; the same PID changes nothing.
    void FollowPid(std::uint16_t pid);
    std::uint16_t Pid() const { return m_pid; }

    /// Counts the PCR of a packet of the followed PID. What a packet with
    /// transport_error_indicator holds must not be counted: callers leave it out.
    /// @return false when the packet is another's or has no PCR
    bool Count(const std::uint8_t *packet) {
        const auto pcr = ts::Pid(packet) == m_pid ? Pcr(packet) : std::nullopt;
        if (pcr)
            Advance(*pcr);
        return pcr.has_value();
    }
    /// The same; the first PID that has a PCR is followed when none is so far.
    bool CountFirst(const std::uint8_t *packet) {
        if (m_pid == kNullPid && Pcr(packet))
            FollowPid(ts::Pid(packet));
        return Count(packet);
    }

    static constexpr std::int64_t kLongestStep = 10 * kPcrHz;

    /// @param pcr          27 MHz ticks of a packet of the followed PID
    /// @param longestStep  what is longer counts as a jump; for PCRs that are far apart
    void Advance(std::int64_t pcr, std::int64_t longestStep = kLongestStep);

    /// @return the time that counts from one PCR of a PID to a later one; 0 for a jump
    static std::int64_t Step(std::int64_t from, std::int64_t to,
                             std::int64_t longestStep = kLongestStep);

    /// @return stream time in ticks of 27 MHz since the first PCR
    std::int64_t Ticks() const { return m_ticks; }
    /// @return stream time in milliseconds
    std::int64_t Milliseconds() const;

  private:
    std::uint16_t m_pid = kNullPid;
    std::optional<std::int64_t> m_last;
    std::int64_t m_ticks = 0;
};

}  // namespace tvdesktop::ts

#endif
