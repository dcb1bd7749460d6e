#include "ts/StreamClock.h"

namespace tvdesktop::ts {

namespace {

constexpr std::int64_t kWrap = (std::int64_t{1} << 33) * 300;

}  // namespace

void StreamClock::FollowPid(std::uint16_t pid) {
    if (pid == m_pid)
        return;
    m_pid = pid;
    m_last.reset();
}

void StreamClock::Advance(std::int64_t pcr, std::int64_t longestStep) {
    if (m_last)
        m_ticks += Step(*m_last, pcr, longestStep);
    m_last = pcr;
}

std::int64_t StreamClock::Step(std::int64_t from, std::int64_t to, std::int64_t longestStep) {
    // A damaged extension (300 and more) may reach beyond the wrap.
    const std::int64_t step = ((to - from) % kWrap + kWrap) % kWrap;
    return step <= longestStep ? step : 0;
}

std::int64_t StreamClock::Milliseconds() const {
    return m_ticks / (kPcrHz / 1000);
}

}  // namespace tvdesktop::ts
