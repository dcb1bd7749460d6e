/// @file
/// Where a decoder can begin: the first packet of a PES unit.
#ifndef TVDESKTOP_PLAYER_PESUNIT_H
#define TVDESKTOP_PLAYER_PESUNIT_H

#include <cstddef>
#include <cstdint>

#include "ts/TsPacket.h"

namespace tvdesktop {

enum class UnitKind { Video, Audio };

/// Classes of stream_id (ISO/IEC 13818-1, table 2-22). The extended id means either kind, and
/// private stream 1 is where DVB carries AC-3 (ETSI TS 101 154).
inline bool CarriesKind(std::uint8_t streamId, UnitKind kind) {
    constexpr std::uint8_t kExtendedId = 0xFD;
    constexpr std::uint8_t kPrivateStream1 = 0xBD;
    if (streamId == kExtendedId)
        return true;
    if (kind == UnitKind::Video)
        return (streamId & 0xF0) == 0xE0;
    return (streamId & 0xE0) == 0xC0 || streamId == kPrivateStream1;
}

/// @param packet  a whole packet that begins with the sync byte
/// @return true when a decoder of that kind can begin here: an undamaged, unscrambled packet whose
///         payload opens with a PES header (ISO/IEC 13818-1, 2.4.3.6) of the kind. A section that
///         begins on the same PID is not one.
inline bool BeginsUnit(const std::uint8_t *packet, UnitKind kind) {
    if (ts::TransportError(packet) || ts::IsScrambled(packet) || !ts::UnitStart(packet) ||
        !ts::HasPayload(packet))
        return false;
    const std::size_t payload = ts::HasAdaptation(packet) ? 5U + packet[4] : 4U;
    if (payload + 4 > ts::kPacketSize)
        return false;
    const std::uint8_t *header = packet + payload;
    return header[0] == 0 && header[1] == 0 && header[2] == 1 && CarriesKind(header[3], kind);
}

}  // namespace tvdesktop

#endif
