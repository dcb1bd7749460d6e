/// @file
/// One packet of an MPEG-2 transport stream (ISO/IEC 13818-1, 2.4.3).
#ifndef TVDESKTOP_TS_TSPACKET_H
#define TVDESKTOP_TS_TSPACKET_H

#include <cstddef>
#include <cstdint>
#include <optional>

namespace tvdesktop::ts {

inline constexpr std::size_t kPacketSize = 188;
inline constexpr std::uint8_t kSyncByte = 0x47;
inline constexpr std::size_t kPidCount = 8192;
inline constexpr std::uint16_t kPatPid = 0x0000;
inline constexpr std::uint16_t kNullPid = 0x1FFF;
inline constexpr std::int64_t kPcrHz = 27'000'000;

/// A PID that a stream of a service can have; 0 is the PAT and 0x1FFF the null packets. Both also
/// mean "none", as does every number that is not a PID. Reentrant.
constexpr bool IsStreamPid(int pid) {
    return pid > kPatPid && pid < kNullPid;
}

/// All functions below take a whole packet that begins with the sync byte. Reentrant.

inline std::uint16_t Pid(const std::uint8_t *packet) {
    return static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
}

inline bool TransportError(const std::uint8_t *packet) {
    return (packet[1] & 0x80) != 0;
}

inline bool UnitStart(const std::uint8_t *packet) {
    return (packet[1] & 0x40) != 0;
}

inline bool IsScrambled(const std::uint8_t *packet) {
    return (packet[3] & 0xC0) != 0;
}

inline bool HasPayload(const std::uint8_t *packet) {
    return (packet[3] & 0x10) != 0;
}

inline bool HasAdaptation(const std::uint8_t *packet) {
    return (packet[3] & 0x20) != 0;
}

/// @return the program clock reference in 27 MHz ticks, modulo 2^33 * 300, when the packet has one
inline std::optional<std::int64_t> Pcr(const std::uint8_t *packet) {
    if (!HasAdaptation(packet) || packet[4] < 7 || (packet[5] & 0x10) == 0)
        return std::nullopt;
    const std::int64_t base = static_cast<std::int64_t>(packet[6]) << 25 | packet[7] << 17 |
                              packet[8] << 9 | packet[9] << 1 | packet[10] >> 7;
    const std::int64_t extension = (packet[10] & 0x01) << 8 | packet[11];
    return base * 300 + extension;
}

}  // namespace tvdesktop::ts

#endif
