#include "PacketFile.h"

#include <array>
#include <fstream>
#include <optional>

#include "Failure.h"

namespace tool {

namespace {

constexpr std::size_t kPacketSize = 188;
constexpr std::uint8_t kSyncByte = 0x47;

using Packet = std::array<std::uint8_t, kPacketSize>;

std::uint16_t PidOf(const Packet &packet) {
    return static_cast<std::uint16_t>((packet[1] & 0x1F) << 8 | packet[2]);
}

class PacketReader {
  public:
    explicit PacketReader(const std::string &path) : m_path(path), m_file(path, std::ios::binary) {
        if (!m_file)
            throw Failure("'" + path + "' cannot be read.");
    }

    /// @return nothing at the end
    std::optional<Packet> Next() {
        Packet packet;
        m_file.read(reinterpret_cast<char *>(packet.data()), kPacketSize);
        if (m_file.gcount() == 0)
            return std::nullopt;
        if (m_file.gcount() != kPacketSize || packet[0] != kSyncByte)
            throw Failure("'" + m_path + "' is not made of whole packets.");
        return packet;
    }

    std::optional<Packet> NextOf(const std::set<std::uint16_t> &pids) {
        std::optional<Packet> packet = Next();
        while (packet && pids.count(PidOf(*packet)) == 0)
            packet = Next();
        return packet;
    }

  private:
    std::string m_path;
    std::ifstream m_file;
};

}  // namespace

std::set<std::uint16_t> PidsIn(const std::string &path) {
    std::set<std::uint16_t> pids;
    PacketReader reader(path);
    for (std::optional<Packet> packet = reader.Next(); packet; packet = reader.Next())
        pids.insert(PidOf(*packet));
    return pids;
}

std::string DifferenceFromSource(const std::string &recording, const std::string &source) {
    const std::set<std::uint16_t> pids = PidsIn(recording);
    PacketReader recorded(recording);
    PacketReader original(source);
    std::size_t count = 0;
    for (std::optional<Packet> packet = recorded.Next(); packet; packet = recorded.Next()) {
        if (packet != original.NextOf(pids))
            return "packet " + std::to_string(count) + " is not that of the source";
        ++count;
    }
    return count == 0 ? "empty" : "";
}

}  // namespace tool
