/// @file
/// A channel change inside a recording that waits for its unmute.
#ifndef MOXPVR_CHANNELCHANGE_H
#define MOXPVR_CHANNELCHANGE_H

#include <atomic>
#include <chrono>
#include <optional>

namespace mox {

/// Monotonic time.
using Clock = std::chrono::steady_clock::time_point (*)();

/// The rate of a playback, and while the decoders are set up for another stretch the position to
/// continue from.
///
/// Threads: a request and a callback may use it at the same time. Position, rate and start are
/// published before the flag that announces them, and read after it.
class ChannelChange {
  public:
    /// Where and how playback continues after the unmute that ends the change.
    struct Recovery {
        long long position;
        double rate;
    };

    explicit ChannelChange(Clock clock) : m_clock(clock) {}

    /// The rate last requested; a change recovers at it.
    double Rate() const { return m_dRecoverSpeed; }
    void SetRate(double rate) { m_dRecoverSpeed = rate; }

    bool IsPending() const { return m_bChannelChanging; }

    /// @return how long it has waited for its unmute; nothing when none is pending
    std::optional<std::chrono::milliseconds> Waited() const {
        if (!m_bChannelChanging)
            return std::nullopt;
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_clock() - m_start.load());
    }

    void Begin(const Recovery &recovery) {
        m_dRecoverSpeed = recovery.rate;
        m_llRecoverTime = recovery.position;
        m_start = m_clock();
        m_bChannelChanging = true;
    }

    /// Ends it without recovery.
    void GiveUp() { m_bChannelChanging = false; }

    /// Ends a pending change: calls recover(const Recovery &). One that was given up meanwhile and
    /// replaced by another ends nothing.
    template <typename Recover>
    void End(Recover &&recover) {
        const auto start = m_start.load();
        recover(Recovery{m_llRecoverTime, m_dRecoverSpeed});
        if (m_start.load() == start)
            m_bChannelChanging = false;
    }

  private:
    const Clock m_clock;
    std::atomic<double> m_dRecoverSpeed{1.0};
    std::atomic<long long> m_llRecoverTime{0};
    std::atomic<std::chrono::steady_clock::time_point> m_start{};
    std::atomic<bool> m_bChannelChanging{false};
};

}  // namespace mox

#endif
