/// @file
/// Where one channel follows another in a recording, judged by its packets alone.
#ifndef TVDESKTOP_TS_STRETCHFINDER_H
#define TVDESKTOP_TS_STRETCHFINDER_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

#include "ts/ChannelLog.h"
#include "ts/ChannelTable.h"
#include "ts/StreamClock.h"

namespace tvdesktop::ts {

/// A stretch and the channel that its packets belong to.
struct FoundStretch {
    ChannelStretch stretch;
    std::size_t channel = 0;  ///< number in the ChannelTable
};

/// Takes the packets of a recording in order and notes where a channel begins: with the first
/// packet that cannot belong to the one before; the first channel has what comes before it too,
/// unless stream time passed there. Stream time is counted as the recorder does, along the PCR PID
/// of the channel.
///
/// A channel that comes back within half a second was never left: the recording holds two channels
/// at once, and the one that was there first counts. Packets that could belong to several channels
/// leave open which one it is until others decide.
///
/// Threads: thread-bound.
class StretchFinder {
  public:
    /// @param channels  must outlive this object
    explicit StretchFinder(const ChannelTable &channels) : m_channels(channels) {}

    void Pass(const std::uint8_t *packet, std::uint64_t offset);

    /// @return what was found, in order
    std::vector<FoundStretch> Finish();

  private:
    using Numbers = ChannelTable::Numbers;

    struct Stretch {
        std::uint64_t offset;
        std::int64_t timeMs;
        Numbers channels;   ///< those that its packets can belong to
        StreamClock clock;  ///< continues from the one of the stretch before
    };

    bool ContinueWith(const Numbers &owners);
    void Begin(std::uint64_t offset, const Numbers &owners);
    void Narrow(Stretch &stretch, const Numbers &channels);
    static bool IsSettled(const Stretch &stretch);

    const ChannelTable &m_channels;
    StreamClock m_unknown;  ///< until the first stretch begins
    std::vector<Stretch> m_stretches;
    std::set<std::size_t> m_mixed;  ///< channels that were found inside another's stretch
};

}  // namespace tvdesktop::ts

#endif
