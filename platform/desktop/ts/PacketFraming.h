/// @file
/// Where packets begin in a run of bytes, also after damage.
#ifndef TVDESKTOP_TS_PACKETFRAMING_H
#define TVDESKTOP_TS_PACKETFRAMING_H

#include <cstddef>
#include <cstdint>

namespace tvdesktop::ts {

/// Finds whole packets one after the other. While every packet begins where the last one ended,
/// one look at the next sync byte is enough; when it is missing, the place where three packets in a
/// row begin is searched for. A packet inside which such a row begins was cut short and is left
/// out; what follows is whole again.
///
/// Threads: thread-bound.
class PacketFraming {
  public:
    struct Place {
        bool found = false;
        std::size_t offset = 0;  ///< of the packet; else the first byte worth keeping for later
    };

    /// @param from   where the last packet ended
    /// @param atEnd  nothing follows these bytes for now: judge by what is there
    /// @return the next whole packet at `from` or behind it
    Place Find(const std::uint8_t *data, std::size_t size, std::size_t from, bool atEnd);

    /// Trusts no position until three packets in a row were seen again.
    void Reset() { m_locked = false; }

  private:
    Place Hunt(const std::uint8_t *data, std::size_t size, std::size_t from, std::size_t last,
               bool atEnd) const;

    bool m_locked = false;
};

}  // namespace tvdesktop::ts

#endif
