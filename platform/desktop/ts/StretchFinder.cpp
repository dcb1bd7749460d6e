#include "ts/StretchFinder.h"

#include <algorithm>
#include <iterator>

#include "ts/TsPacket.h"

namespace tvdesktop::ts {

namespace {

constexpr std::int64_t kSettledMs = 500;

ChannelTable::Numbers Common(const ChannelTable::Numbers &left,
                             const ChannelTable::Numbers &right) {
    ChannelTable::Numbers common;
    std::set_intersection(left.begin(), left.end(), right.begin(), right.end(),
                          std::back_inserter(common));
    return common;
}

}  // namespace

void StretchFinder::Pass(const std::uint8_t *packet, std::uint64_t offset) {
    if (TransportError(packet))
        return;
    const Numbers &owners = m_channels.OwnersOf(Pid(packet));
    if (!owners.empty() && !ContinueWith(owners))
        Begin(offset, owners);
    if (m_stretches.empty())
        m_unknown.CountFirst(packet);
    else if (!owners.empty())
        m_stretches.back().clock.CountFirst(packet);
}

/// Goes back to an earlier stretch when what followed it is too short to have been a change.
/// @return false when the packet belongs to none of the stretches that may still continue
bool StretchFinder::ContinueWith(const Numbers &owners) {
    for (std::size_t i = m_stretches.size(); i-- > 0;) {
        const Numbers common = Common(m_stretches[i].channels, owners);
        if (common.empty() && IsSettled(m_stretches[i]))
            return false;
        if (common.empty())
            continue;
        for (; m_stretches.size() > i + 1; m_stretches.pop_back())
            m_mixed.insert(m_stretches.back().channels.front());
        Narrow(m_stretches[i], common);
        return true;
    }
    return false;
}

void StretchFinder::Begin(std::uint64_t offset, const Numbers &owners) {
    const StreamClock clock = m_stretches.empty() ? m_unknown : m_stretches.back().clock;
    const bool isAtStart = m_stretches.empty() && clock.Milliseconds() == 0;
    m_stretches.push_back({isAtStart ? 0 : offset, clock.Milliseconds(), {}, clock});
    Narrow(m_stretches.back(), owners);
}

void StretchFinder::Narrow(Stretch &stretch, const Numbers &channels) {
    stretch.channels = channels;
    stretch.clock.FollowPid(m_channels.InfoOf(channels.front()).pcrPid);
}

bool StretchFinder::IsSettled(const Stretch &stretch) {
    return stretch.clock.Milliseconds() - stretch.timeMs >= kSettledMs;
}

/// At the end nothing shows any more whether a channel came to stay; one that was mixed into others
/// before did not.
std::vector<FoundStretch> StretchFinder::Finish() {
    while (m_stretches.size() > 1 && !IsSettled(m_stretches.back()) &&
           m_mixed.count(m_stretches.back().channels.front()) != 0)
        m_stretches.pop_back();
    std::vector<FoundStretch> found;
    for (const Stretch &stretch : m_stretches) {
        const std::size_t channel = stretch.channels.front();
        found.push_back({{stretch.timeMs, stretch.offset, m_channels.InfoOf(channel)}, channel});
    }
    return found;
}

}  // namespace tvdesktop::ts
