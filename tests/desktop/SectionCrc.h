/// @file
/// The checksum at the end of a section of a transport stream.
#ifndef TESTS_DESKTOP_SECTIONCRC_H
#define TESTS_DESKTOP_SECTIONCRC_H

#include <cstdint>
#include <vector>

/// Appends the CRC_32 of a section that ends before it: ISO/IEC 13818-1, annex A.
inline void AppendCrc32(std::vector<std::uint8_t> &section) {
    std::uint32_t crc = ~0U;
    for (const std::uint8_t byte : section) {
        crc ^= static_cast<std::uint32_t>(byte) << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
    }
    for (int shift = 24; shift >= 0; shift -= 8)
        section.push_back(static_cast<std::uint8_t>(crc >> shift));
}

#endif
