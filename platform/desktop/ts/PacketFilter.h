/// @file
/// Keeps the packets of chosen PIDs, a block at a time.
#ifndef TVDESKTOP_TS_PACKETFILTER_H
#define TVDESKTOP_TS_PACKETFILTER_H

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ts/PacketFraming.h"
#include "ts/TsPacket.h"

namespace tvdesktop::ts {

using PidTable = std::bitset<kPidCount>;

/// Walks over the packets of a block and moves those that are kept to the front of the same block,
/// so that a block leaves with one write. A packet whose transport_error_indicator is set is not
/// kept: the demodulator could not repair it, so its PID proves nothing.
///
/// Threads: thread-bound.
class PacketFilter {
  public:
    struct Result {
        std::size_t consumed = 0;  ///< end of the last packet looked at; the rest wants more bytes
        std::size_t kept = 0;      ///< end of the kept packets at the front of the block
        std::size_t packets = 0;   ///< whole packets seen, kept or not
    };

    /// @param block  `size` bytes, of which [0, done.kept) are kept packets of earlier calls and
    ///               [done.consumed, size) are still to be looked at
    /// @param keep   PIDs to keep
    /// @param atEnd  no bytes follow this block for now
    /// @param visit  `bool(const uint8_t *packet, bool kept)`, called for every packet before it is
    ///               moved; false stops in front of that packet, which stays to be looked at
    template <typename Visitor>
    Result Run(std::uint8_t *block, std::size_t size, Result done, const PidTable &keep, bool atEnd,
               Visitor &&visit) {
        done.packets = 0;
        for (;;) {
            const auto place = m_framing.Find(block, size, done.consumed, atEnd);
            done.consumed = place.offset;
            if (!place.found)
                return done;
            const std::uint8_t *packet = block + place.offset;
            const bool isDamaged = TransportError(packet);
            const bool kept = keep[Pid(packet)] && !isDamaged;
            if (!visit(packet, kept))
                return done;
            if (kept) {
                std::memmove(block + done.kept, packet, kPacketSize);
                done.kept += kPacketSize;
            }
            m_transportErrors += isDamaged ? 1 : 0;
            done.consumed = place.next;
            ++done.packets;
        }
    }

    /// @return packets seen with transport_error_indicator
    std::uint64_t TransportErrors() const { return m_transportErrors; }
    /// @param rest  bytes that are left at the end of the source
    /// @return about how many packets were cut short or lost with the sync byte
    std::uint64_t LostPackets(std::size_t rest) const { return m_framing.LostPackets(rest); }

  private:
    PacketFraming m_framing;
    std::uint64_t m_transportErrors = 0;
};

}  // namespace tvdesktop::ts

#endif
