#include "ts/StreamClock.h"

namespace tvdesktop::ts {

namespace {

constexpr std::int64_t kWrap = (std::int64_t{1} << 33) * 300;
constexpr std::int64_t kLongestStep = 10 * kPcrHz;

}  // namespace

void StreamClock::FollowPid(std::uint16_t pid) {
    if (pid == m_pid)
        return;
    m_pid = pid;
    m_last.reset();
}

void StreamClock::Advance(std::int64_t pcr) {
    if (m_last) {
        // A damaged extension (300 and more) may reach beyond the wrap.
        const std::int64_t step = ((pcr - *m_last) % kWrap + kWrap) % kWrap;
        if (step <= kLongestStep)
            m_ticks += step;
    }
    m_last = pcr;
}

std::int64_t StreamClock::Milliseconds() const {
    return m_ticks / (kPcrHz / 1000);
}

}  // namespace tvdesktop::ts
