/// @file
/// Which channels a PID can belong to.
#ifndef TVDESKTOP_TS_CHANNELTABLE_H
#define TVDESKTOP_TS_CHANNELTABLE_H

#include <TVTypes.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ts/PacketFilter.h"
#include "TvDesktop.h"

namespace tvdesktop::ts {

/// The channels of a recording with their PIDs: those of its tables, and those that only a side
/// file knows. Channels are numbered in the order in which they were added; a PID may belong to
/// several of them. PIDs of tables that all services share belong to none.
///
/// Threads: thread-bound.
class ChannelTable {
  public:
    using Numbers = std::vector<std::size_t>;  ///< rising

    explicit ChannelTable(const std::vector<Service> &services);

    /// @return those of a side file's PIDs that no channel has
    PidTable Unknown(const TvChannelInfo &info) const;
    /// Believes a side file about PIDs that no table explains.
    /// @param present  the PIDs that the recording has; others are not believed
    void Learn(const TvChannelInfo &info, const PidTable &present);

    const Numbers &OwnersOf(std::uint16_t pid) const { return m_owners[pid]; }
    const TvChannelInfo &InfoOf(std::size_t channel) const { return m_channels[channel].info; }

    /// @return whether the information names PIDs, and none but those of the channel
    bool Describes(const TvChannelInfo &info, std::size_t channel) const;

  private:
    struct Channel {
        TvChannelInfo info;
        PidTable pids;
    };

    std::size_t FindOrAdd(const TvChannelInfo &info);
    void Give(std::size_t channel, const PidTable &pids);

    std::vector<Channel> m_channels;
    std::vector<Numbers> m_owners;  ///< by PID
};

}  // namespace tvdesktop::ts

#endif
