#include "ts/PacketReader.h"

#include <sys/stat.h>

#include <algorithm>

#include "system/Files.h"
#include "ts/TsPacket.h"
#include "TvDesktop.h"

namespace tvdesktop::ts {

namespace {

constexpr std::size_t kFirstRead = 1024 * kPacketSize;
constexpr std::size_t kLargestRead = 5 * kFirstRead;

}  // namespace

bool PacketReader::Open(const std::string &path) {
    Close();
    FileDescriptor file = OpenRegularFile(path);
    if (!file.IsOpen())
        return false;
    m_file = std::move(file);
    m_framing = {};
    m_error = 0;
    Seek(0);
    return true;
}

void PacketReader::Close() {
    m_file.Close();
}

void PacketReader::Seek(std::uint64_t offset) {
    m_framing.Reset();
    m_bufferOffset = offset;
    m_filled = 0;
    m_position = 0;
    m_nextRead = kFirstRead;
}

const std::uint8_t *PacketReader::At(std::uint64_t offset) {
    Seek(offset);
    while (m_error == 0 && m_filled < kPacketSize && ReadMore(kPacketSize)) {
    }
    if (m_filled < kPacketSize || m_buffer[0] != kSyncByte)
        return nullptr;
    m_packetOffset = offset;
    m_position = kPacketSize;
    return m_buffer.data();
}

const std::uint8_t *PacketReader::Next(std::uint64_t end) {
    bool atEnd = false;
    while (IsOpen() && m_error == 0) {
        const auto place = m_framing.Find(m_buffer.data(), m_filled, m_position, atEnd);
        m_position = place.offset;
        if (Tell() >= end)
            break;
        if (place.found) {
            m_packetOffset = Tell();
            m_position = place.next;
            return m_buffer.data() + place.offset;
        }
        if (atEnd)
            break;
        atEnd = !ReadMore(m_nextRead);
        m_nextRead = kLargestRead;
    }
    return nullptr;
}

/// Drops what was looked at and fills the buffer up.
/// @param most  bytes that the buffer holds then
/// @return false when the file has no more now, or cannot be read
bool PacketReader::ReadMore(std::size_t most) {
    std::copy(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_position),
              m_buffer.begin() + static_cast<std::ptrdiff_t>(m_filled), m_buffer.begin());
    m_bufferOffset += m_position;
    m_filled -= m_position;
    m_position = 0;
    if (m_buffer.size() < most)
        m_buffer.resize(most);

    ssize_t count = 0;
    do {
        count = ::pread(m_file.Get(), m_buffer.data() + m_filled, most - m_filled,
                        static_cast<off_t>(m_bufferOffset + m_filled));
    } while (count < 0 && errno == EINTR);
    if (count < 0)
        m_error = errno;
    if (count <= 0)
        return false;
    m_filled += static_cast<std::size_t>(count);
    return true;
}

std::uint64_t PacketReader::Size() const {
    struct stat status {};
    return IsOpen() && ::fstat(m_file.Get(), &status) == 0
               ? static_cast<std::uint64_t>(status.st_size)
               : 0;
}

}  // namespace tvdesktop::ts

namespace tvdesktop {

bool ReadPackets(const std::string &path, const std::function<bool(const std::uint8_t *)> &visit) {
    ts::PacketReader reader;
    if (!reader.Open(path))
        return false;
    while (const std::uint8_t *packet = reader.Next()) {
        if (!ts::TransportError(packet) && !visit(packet))
            break;
    }
    return reader.Error() == 0;
}

}  // namespace tvdesktop
