/// @file
/// Makes small transport streams for tests, packet by packet.
#ifndef TESTS_DESKTOP_TSBUILDER_H
#define TESTS_DESKTOP_TSBUILDER_H

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ts/TsPacket.h"

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::int64_t kMs = tvdesktop::ts::kPcrHz / 1000;  ///< in ticks of a PCR

inline Bytes ReadFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

inline Bytes Part(const Bytes &data, std::size_t offset, std::size_t size) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(size));
}

/// @return the packets [begin, end)
inline Bytes Packets(const Bytes &data, std::size_t begin, std::size_t end) {
    return Part(data, begin * 188, (end - begin) * 188);
}

inline Bytes &operator+=(Bytes &first, const Bytes &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}
inline Bytes operator+(Bytes first, const Bytes &second) {
    return first += second;
}

/// Appends the CRC_32 of a section that ends before it: ISO/IEC 13818-1, annex A.
inline void AppendCrc32(Bytes &section) {
    std::uint32_t crc = ~0U;
    for (const std::uint8_t byte : section) {
        crc ^= static_cast<std::uint32_t>(byte) << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
    }
    for (int shift = 24; shift >= 0; shift -= 8)
        section.push_back(static_cast<std::uint8_t>(crc >> shift));
}

/// Every call appends whole packets to `data`; continuity counters run per PID.
class TsBuilder {
  public:
    Bytes data;

    /// PAT with (program_number, PMT PID) entries, in as many sections as they need.
    TsBuilder &Pat(const std::vector<std::pair<int, int>> &programs) {
        constexpr std::size_t kPerSection = 253;
        const auto last =
            static_cast<int>(programs.empty() ? 0 : (programs.size() - 1) / kPerSection);
        for (int number = 0; number <= last; ++number) {
            Bytes body;
            Append(body, {0x00, 0x01, 0xC1, number, last});
            const std::size_t begin = static_cast<std::size_t>(number) * kPerSection;
            for (std::size_t i = begin; i < std::min(programs.size(), begin + kPerSection); ++i)
                Append(body, {programs[i].first >> 8, programs[i].first,
                              0xE0 | programs[i].second >> 8, programs[i].second});
            Section(0, 0x00, body);
        }
        return *this;
    }

    struct Stream {
        int type;
        int pid;
        Bytes descriptors = {};
    };

    /// @param version  the byte of version_number and current_next_indicator
    TsBuilder &Pmt(int pmtPid, int program, int pcrPid, const std::vector<Stream> &streams,
                   int version = 0xC1) {
        Bytes body;
        Append(body, {program >> 8, program, version, 0, 0, 0xE0 | pcrPid >> 8, pcrPid, 0xF0, 0});
        for (const Stream &stream : streams) {
            Append(body, {stream.type, 0xE0 | stream.pid >> 8, stream.pid, 0xF0,
                          static_cast<int>(stream.descriptors.size())});
            body += stream.descriptors;
        }
        return Section(pmtPid, 0x02, body);
    }

    /// SDT of one service; `names` is provider and name, each with its length in front.
    TsBuilder &Sdt(int service, const Bytes &names) {
        const auto size = static_cast<int>(names.size());
        Bytes body;
        Append(body, {0, 1, 0xC1, 0, 0, 0, 1, 0xFF, service >> 8, service, 0xFC, 0x80, size + 3,
                      0x48, size + 1, 1});
        body += names;
        return Section(0x11, 0x42, body);
    }

    /// A section, without its checksum, in as many packets as it needs.
    TsBuilder &Section(int pid, Bytes section) {
        AppendCrc32(section);
        section.insert(section.begin(), 0);  // pointer_field
        for (std::size_t at = 0; at < section.size(); at += 184) {
            Bytes packet = Header(pid, at == 0, 0x10);
            packet += Part(section, at, std::min<std::size_t>(section.size() - at, 184));
            packet.resize(188, 0xFF);
            data += packet;
        }
        return *this;
    }

    /// A packet with an adaptation field that holds a PCR in 27 MHz ticks, and a payload.
    TsBuilder &Pcr(int pid, std::int64_t ticks, bool unitStart = false) {
        Bytes packet = Header(pid, unitStart, 0x30);
        const std::int64_t base = ticks / 300 & 0x1FFFFFFFF;
        const auto extension = static_cast<int>(ticks % 300);
        Append(packet, {7, 0x10, static_cast<int>(base >> 25), static_cast<int>(base >> 17),
                        static_cast<int>(base >> 9), static_cast<int>(base >> 1),
                        static_cast<int>(base << 7 & 0x80) | 0x7E | extension >> 8, extension});
        return Payload(packet, unitStart);
    }

    /// Packets without a PCR; `unitStart` lets the first begin a PES packet.
    TsBuilder &Media(int pid, int count = 1, bool unitStart = false) {
        for (int i = 0; i < count; ++i)
            Payload(Header(pid, unitStart && i == 0, 0x10), unitStart && i == 0);
        return *this;
    }

    /// Bytes that are no packet.
    TsBuilder &Junk(std::size_t count, std::uint8_t value = 0x55) {
        data.insert(data.end(), count, value);
        return *this;
    }

    void WriteTo(const std::string &path) const {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char *>(data.data()),
                   static_cast<std::streamsize>(data.size()));
    }

  private:
    static void Append(Bytes &to, std::initializer_list<int> values) {
        for (const int value : values)
            to.push_back(static_cast<std::uint8_t>(value & 0xFF));
    }

    Bytes Header(int pid, bool unitStart, int control) {
        Bytes packet;
        Append(packet, {0x47, (unitStart ? 0x40 : 0) | pid >> 8, pid,
                        control | (m_counters[pid]++ & 0x0F)});
        return packet;
    }

    TsBuilder &Section(int pid, int tableId, const Bytes &body) {
        const auto length = static_cast<int>(body.size()) + 4;
        Bytes head;
        Append(head, {tableId, 0xB0 | length >> 8, length});
        return Section(pid, head + body);
    }

    /// Fills a packet up; a serial number makes every packet different from all others.
    TsBuilder &Payload(Bytes packet, bool unitStart) {
        if (unitStart)
            Append(packet, {0, 0, 1, 0xE0, 0, 0, 0x80, 0, 0});
        const int serial = m_serial++;
        Append(packet, {serial >> 16, serial >> 8, serial});
        packet.resize(188, 0xAA);
        data += packet;
        return *this;
    }

    std::map<int, int> m_counters;
    int m_serial = 0;
};

#endif
