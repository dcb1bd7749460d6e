#include "ts/PacketFraming.h"

#include <algorithm>
#include <cstring>

namespace tvdesktop::ts {

namespace {

constexpr std::size_t kStrides[] = {kPacketSize, 192, 204};

/// Sync bytes that show where packets begin; to show another stride than the one before takes more
/// of them, since each stride is one more chance to take bytes inside packets for sync bytes.
constexpr std::size_t kRowLength = 3;
constexpr std::size_t kOtherRowLength = 5;

std::size_t FindSync(const std::uint8_t *data, std::size_t from, std::size_t last) {
    if (from >= last)
        return last;
    const void *found = std::memchr(data + from, kSyncByte, last - from);
    return found != nullptr
               ? static_cast<std::size_t>(static_cast<const std::uint8_t *>(found) - data)
               : last;
}

/// @return how many sync bytes of a row are in the data, 0 when one is missing
std::size_t CountSync(const std::uint8_t *data, std::size_t size, std::size_t offset,
                      std::size_t stride, std::size_t rowLength) {
    std::size_t count = 0;
    for (; count < rowLength && offset < size; ++count, offset += stride) {
        if (data[offset] != kSyncByte)
            return 0;
    }
    return count;
}

}  // namespace

/// At the end of the data a row may be cut off; a single packet proves no other stride.
PacketFraming::Row PacketFraming::RowOf(std::size_t stride, const std::uint8_t *data,
                                        std::size_t size, std::size_t offset, bool atEnd) const {
    const std::size_t length = stride == m_stride ? kRowLength : kOtherRowLength;
    const std::size_t count = CountSync(data, size, offset, stride, length);
    if (count == 0 || (count == 1 && atEnd && stride != m_stride))
        return Row::No;
    return count == length || atEnd ? Row::Yes : Row::Undecided;
}

/// Takes the stride of the row that begins at an offset, if one does.
PacketFraming::Row PacketFraming::FindStride(const std::uint8_t *data, std::size_t size,
                                             std::size_t offset, bool atEnd) {
    const Row same = RowOf(m_stride, data, size, offset, atEnd);
    if (same != Row::No)
        return same;
    for (const std::size_t stride : kStrides) {
        const Row other = RowOf(stride, data, size, offset, atEnd);
        if (other == Row::Yes)
            m_stride = stride;
        if (other != Row::No)
            return other;
    }
    return Row::No;
}

/// Searches [from, last) for the start of a row.
PacketFraming::Place PacketFraming::Hunt(const std::uint8_t *data, std::size_t size,
                                         std::size_t from, std::size_t last, bool atEnd) {
    for (std::size_t offset = FindSync(data, from, last); offset < last;
         offset = FindSync(data, offset + 1, last)) {
        if (size - offset < kPacketSize)
            return {false, offset, offset};
        const Row row = FindStride(data, size, offset, atEnd);
        if (row != Row::No)
            return {row == Row::Yes, offset, std::min(offset + m_stride, size)};
    }
    return {false, last, last};
}

PacketFraming::Place PacketFraming::Locate(const std::uint8_t *data, std::size_t size,
                                           std::size_t from, bool atEnd) {
    if (size - from < kPacketSize)
        return {false, from, from};
    if (!m_locked || data[from] != kSyncByte) {
        const Place place = Hunt(data, size, from, size, atEnd);
        m_locked = place.found;
        return place;
    }

    const std::size_t next = from + m_stride;
    if (next >= size)
        return {atEnd, from, size};
    if (data[next] == kSyncByte)
        return {true, from, next};
    const Place cutShortBy = Hunt(data, size, from + 1, next, atEnd);
    const bool isUndecided = !cutShortBy.found && cutShortBy.offset < next;
    if (isUndecided && !atEnd)
        return {false, from, from};
    return cutShortBy.found ? cutShortBy : Place{true, from, next};
}

PacketFraming::Place PacketFraming::Find(const std::uint8_t *data, std::size_t size,
                                         std::size_t from, bool atEnd) {
    const Place place = Locate(data, size, from, atEnd);
    m_gap += place.offset - from;
    if (place.found) {
        m_lost += PacketsIn(m_gap);
        m_gap = 0;
    }
    return place;
}

/// What a layout has between two packets may come before the first one too.
std::uint64_t PacketFraming::PacketsIn(std::uint64_t gap) const {
    return gap <= m_stride - kPacketSize ? 0 : (gap + m_stride - 1) / m_stride;
}

}  // namespace tvdesktop::ts
