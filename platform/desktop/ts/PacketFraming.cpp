#include "PacketFraming.h"

#include <algorithm>

#include "TsPacket.h"

namespace tvdesktop::ts {

namespace {

constexpr std::size_t kRowLength = 3;
constexpr std::size_t kRowSpan = (kRowLength - 1) * kPacketSize + 1;

/// Sync bytes a packet apart; those behind the end of the data count as present.
bool RowBeginsAt(const std::uint8_t *data, std::size_t size, std::size_t offset) {
    for (std::size_t i = 0; i < kRowLength && offset < size; ++i, offset += kPacketSize) {
        if (data[offset] != kSyncByte)
            return false;
    }
    return true;
}

}  // namespace

/// Searches [from, last) for the begin of a row.
PacketFraming::Place PacketFraming::Hunt(const std::uint8_t *data, std::size_t size,
                                         std::size_t from, std::size_t last, bool atEnd) const {
    const std::size_t needed = atEnd ? kPacketSize : kRowSpan;
    for (std::size_t offset = from; offset < last; ++offset) {
        if (size - offset < needed)
            return {false, offset};
        if (RowBeginsAt(data, size, offset))
            return {true, offset};
    }
    return {false, last};
}

PacketFraming::Place PacketFraming::Find(const std::uint8_t *data, std::size_t size,
                                         std::size_t from, bool atEnd) {
    if (size - from < kPacketSize)
        return {false, from};
    if (!m_locked || data[from] != kSyncByte) {
        const Place place = Hunt(data, size, from, size, atEnd);
        m_locked = place.found;
        return place;
    }

    const std::size_t next = from + kPacketSize;
    if (next == size)
        return {atEnd, from};
    if (data[next] == kSyncByte)
        return {true, from};
    if (size - next < kRowSpan && !atEnd)
        return {false, from};
    const Place cutShortBy = Hunt(data, size, from + 1, next, atEnd);
    return cutShortBy.found ? cutShortBy : Place{true, from};
}

}  // namespace tvdesktop::ts
