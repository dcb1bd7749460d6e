#include "verbs/PacketFile.h"

#include <TvDesktop.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>

#include "Failure.h"

namespace tool {

namespace {

constexpr std::size_t kPacketSize = 188;
constexpr std::uint8_t kSyncByte = 0x47;

using Packet = std::array<std::uint8_t, kPacketSize>;

std::uint16_t PidOf(const std::uint8_t *packet) {
    return static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
}

class RecordedPackets {
  public:
    explicit RecordedPackets(const std::string &path)
        : m_path(path), m_file(path, std::ios::binary) {
        if (!m_file)
            throw Failure("cannot read " + path);
    }

    /// @return nothing at the end
    std::optional<Packet> Next() {
        Packet packet;
        m_file.read(reinterpret_cast<char *>(packet.data()), kPacketSize);
        if (m_file.gcount() == 0)
            return std::nullopt;
        if (m_file.gcount() != kPacketSize || packet[0] != kSyncByte)
            throw Failure("cannot check " + m_path + ": it is not made of whole packets");
        return packet;
    }

  private:
    std::string m_path;
    std::ifstream m_file;
};

}  // namespace

std::set<std::uint16_t> PidsIn(const std::string &path) {
    std::set<std::uint16_t> pids;
    RecordedPackets reader(path);
    for (std::optional<Packet> packet = reader.Next(); packet; packet = reader.Next())
        pids.insert(PidOf(packet->data()));
    return pids;
}

std::string DifferenceFromSource(const std::string &recording, const std::string &source) {
    const std::set<std::uint16_t> pids = PidsIn(recording);
    RecordedPackets recorded(recording);
    std::optional<Packet> next = recorded.Next();
    std::size_t same = 0;
    const bool isRead = tvdesktop::ReadPackets(source, [&](const std::uint8_t *packet) {
        if (pids.count(PidOf(packet)) == 0)
            return true;
        if (!next || !std::equal(next->begin(), next->end(), packet))
            return false;
        ++same;
        next = recorded.Next();
        return true;
    });
    if (!isRead)
        throw Failure("cannot read " + source);
    if (next)
        return "packet " + std::to_string(same) + " is not that of the source";
    return same == 0 ? "empty" : "";
}

}  // namespace tool
