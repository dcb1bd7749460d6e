#include "ts/ChannelTable.h"

#include <algorithm>

#include "ts/TsPacket.h"

namespace tvdesktop::ts {

namespace {

constexpr int kFirstFreePid = 0x20;  ///< below are tables of all services: ETSI EN 300 468, 5.1.3

void Add(int pid, PidTable &pids) {
    if (pid >= kFirstFreePid && IsStreamPid(pid))
        pids.set(static_cast<std::size_t>(pid));
}

PidTable PidsOf(const Service &service) {
    PidTable pids;
    Add(service.pmtPid, pids);
    Add(service.pcrPid, pids);
    for (const ElementaryStream &stream : service.streams)
        Add(stream.pid, pids);
    return pids;
}

PidTable PidsOf(const TvChannelInfo &info) {
    PidTable pids;
    for (const int pid : {static_cast<int>(info.pcrPid), static_cast<int>(info.videoPid),
                          static_cast<int>(info.subVideoPid), static_cast<int>(info.audioPid)})
        Add(pid, pids);
    return pids;
}

}  // namespace

ChannelTable::ChannelTable(const std::vector<Service> &services) : m_owners(kPidCount) {
    for (const Service &service : services) {
        m_channels.push_back({ChannelInfoOf(service), {}});
        Give(m_channels.size() - 1, PidsOf(service));
    }
}

PidTable ChannelTable::Unknown(const TvChannelInfo &info) const {
    PidTable unknown = PidsOf(info);
    for (const Channel &channel : m_channels)
        unknown &= ~channel.pids;
    return unknown;
}

void ChannelTable::Learn(const TvChannelInfo &info, const PidTable &present) {
    const PidTable learned = Unknown(info) & present;
    if (learned.any())
        Give(FindOrAdd(info), learned);
}

/// A service whose PMT was changed is still the same one: by its number or by a PID.
std::size_t ChannelTable::FindOrAdd(const TvChannelInfo &info) {
    const PidTable pids = PidsOf(info);
    const auto found =
        std::find_if(m_channels.begin(), m_channels.end(), [&](const Channel &channel) {
            const bool hasNumber =
                info.programNum != 0 && info.programNum == channel.info.programNum;
            return hasNumber || (channel.pids & pids).any();
        });
    const auto number = static_cast<std::size_t>(found - m_channels.begin());
    if (found == m_channels.end())
        m_channels.push_back({info, {}});
    return number;
}

void ChannelTable::Give(std::size_t channel, const PidTable &pids) {
    m_channels[channel].pids |= pids;
    for (std::size_t pid = 0; pid < pids.size(); ++pid) {
        Numbers &owners = m_owners[pid];
        if (pids[pid])
            owners.insert(std::upper_bound(owners.begin(), owners.end(), channel), channel);
    }
}

bool ChannelTable::Describes(const TvChannelInfo &info, std::size_t channel) const {
    const PidTable pids = PidsOf(info);
    return pids.any() && (pids & ~m_channels[channel].pids).none();
}

}  // namespace tvdesktop::ts
