/// @file
/// Where packets begin in a run of bytes, also after damage.
#ifndef TVDESKTOP_TS_PACKETFRAMING_H
#define TVDESKTOP_TS_PACKETFRAMING_H

#include <cstddef>
#include <cstdint>

#include "ts/TsPacket.h"

namespace tvdesktop::ts {

/// Finds whole packets one after the other: of 188 bytes, of 192 with a time stamp before each, or
/// of 204 with a checksum after each. While every packet begins where it is due, one look at the
/// next sync byte is enough; when it is missing, the place where several packets in a row begin is
/// searched for. A packet inside which such a row begins was cut short and is left out; what
/// follows is whole again.
///
/// Threads: thread-bound.
class PacketFraming {
  public:
    struct Place {
        bool found = false;
        std::size_t offset = 0;  ///< of the packet; else the first byte worth keeping for later
        std::size_t next = 0;    ///< where to look for the packet after it
    };

    /// @param from   where the last packet led to, or the packet that was found there again
    /// @param atEnd  nothing follows these bytes for now: judge by what there is
    /// @return the next whole packet at `from` or after it
    Place Find(const std::uint8_t *data, std::size_t size, std::size_t from, bool atEnd);

    /// Trusts no position until several packets in a row were seen again.
    void Reset() { m_locked = false; }

    /// @param rest  bytes that are left at the end of the stream
    /// @return how many packets the bytes between whole ones would have made, begun ones included
    std::uint64_t LostPackets(std::size_t rest) const { return m_lost + PacketsIn(m_gap + rest); }

  private:
    enum class Row { No, Yes, Undecided };

    Place Locate(const std::uint8_t *data, std::size_t size, std::size_t from, bool atEnd);
    Place Hunt(const std::uint8_t *data, std::size_t size, std::size_t from, std::size_t last,
               bool atEnd);
    Row RowOf(std::size_t stride, const std::uint8_t *data, std::size_t size, std::size_t offset,
              bool atEnd) const;
    Row FindStride(const std::uint8_t *data, std::size_t size, std::size_t offset, bool atEnd);
    std::uint64_t PacketsIn(std::uint64_t gap) const;

    bool m_locked = false;
    std::size_t m_stride = kPacketSize;  ///< from one packet to the next
    std::uint64_t m_gap = 0;             ///< bytes since the last packet that belong to none
    std::uint64_t m_lost = 0;
};

}  // namespace tvdesktop::ts

#endif
