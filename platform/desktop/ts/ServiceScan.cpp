#include "ts/ServiceScan.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <utility>

#include "system/Files.h"
#include "ts/DvbText.h"
#include "ts/PacketReader.h"
#include "ts/PsiTables.h"
#include "ts/TsPacket.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

constexpr std::uint64_t kScanLimit = 64 << 20;
constexpr std::uint16_t kSdtPid = 0x0011;
constexpr std::uint8_t kSdtActualTable = 0x42;
constexpr std::uint8_t kServiceTag = 0x48;

/// Collects the tables of one stream; packets go in, services come out. What it does for a packet
/// does not depend on how many services there are.
class Scanner {
  public:
    Scanner()
        : m_pat([this](const ts::Section &section) { TakePat(*section); }),
          m_sdt([this](const ts::Section &section) { TakeSdt(*section); }) {}

    void Push(const std::uint8_t *packet) {
        if (ts::TransportError(packet))
            return;
        const std::uint16_t pid = ts::Pid(packet);
        if (pid == ts::kPatPid)
            m_pat.Push(packet);
        else if (pid == kSdtPid)
            m_sdt.Push(packet);
        const auto pmt = m_pmts.find(pid);
        if (pmt != m_pmts.end())
            pmt->second.Push(packet);
    }

    bool IsComplete() const {
        return m_patProgress.IsComplete() && m_sdtProgress.IsComplete() &&
               m_complete.size() == m_pmtPids.size();
    }

    std::vector<Service> TakeServices() {
        std::vector<Service> services;
        for (auto &[id, service] : m_complete) {
            service.name = m_names[id].name;
            service.provider = m_names[id].provider;
            services.push_back(std::move(service));
        }
        return services;
    }

  private:
    struct Names {
        std::string name;
        std::string provider;
    };

    void TakePat(const dvbpsi_psi_section_t &section) {
        if (section.i_table_id != ts::kPatTable || !m_patProgress.Take(section))
            return;
        ts::ForEachProgram(section, [this](std::uint16_t id, std::uint16_t pid) {
            if (m_pmtPids.emplace(id, pid).second)
                m_pmts.try_emplace(pid,
                                   [this, pid](ts::Section pmt) { TakePmt(pid, std::move(pmt)); });
        });
    }

    void TakePmt(std::uint16_t pid, ts::Section section) {
        const std::uint16_t id = section->i_extension;
        const auto program = m_pmtPids.find(id);
        if (program == m_pmtPids.end() || program->second != pid || m_complete.count(id) != 0)
            return;
        if (auto service = ts::ServiceFromPmt(std::move(section), pid))
            m_complete.emplace(id, std::move(*service));
    }

    void TakeSdt(const dvbpsi_psi_section_t &section) {
        if (section.i_table_id != kSdtActualTable || !m_sdtProgress.Take(section))
            return;
        constexpr std::ptrdiff_t kHeader = 5;  // service_id to descriptors_loop_length
        const std::uint8_t *entry = section.p_payload_start + 3;
        while (section.p_payload_end - entry >= kHeader) {
            const std::ptrdiff_t length = kHeader + (ts::Word(entry + 3) & 0x0FFF);
            if (section.p_payload_end - entry < length)
                return;
            TakeDescriptors(ts::Word(entry), entry + kHeader, entry + length);
            entry += length;
        }
    }

    void TakeDescriptors(std::uint16_t id, const std::uint8_t *descriptor,
                         const std::uint8_t *end) {
        while (end - descriptor >= 2 && end - descriptor - 2 >= descriptor[1]) {
            const std::uint8_t *next = descriptor + 2 + descriptor[1];
            if (descriptor[0] == kServiceTag)
                TakeNames(id, descriptor + 2, next);
            descriptor = next;
        }
    }

    /// service_type, then provider and name, each with its length: ETSI EN 300 468, 6.2.33.
    void TakeNames(std::uint16_t id, const std::uint8_t *field, const std::uint8_t *end) {
        const auto takeText = [&field, end] {
            const std::ptrdiff_t length = field < end ? *field++ : 0;
            const std::uint8_t *text = field;
            field += std::min(length, end - field);
            return ts::DvbTextToUtf8(text, static_cast<std::size_t>(field - text));
        };
        if (field++ == end)
            return;
        const std::string provider = takeText();
        m_names[id] = {takeText(), provider};
    }

    std::map<std::uint16_t, Service> m_complete;
    std::map<std::uint16_t, Names> m_names;
    std::map<std::uint16_t, std::uint16_t> m_pmtPids;   ///< by service id
    std::map<std::uint16_t, ts::SectionReader> m_pmts;  ///< by PID, which services may share
    ts::TableProgress m_patProgress;
    ts::TableProgress m_sdtProgress;
    ts::SectionReader m_pat;
    ts::SectionReader m_sdt;
};

}  // namespace

const ElementaryStream *Service::First(StreamKind kind) const {
    const auto found =
        std::find_if(streams.begin(), streams.end(),
                     [kind](const ElementaryStream &stream) { return stream.kind == kind; });
    return found != streams.end() ? &*found : nullptr;
}

std::vector<Service> ts::ScanTables(PacketReader &reader, std::uint64_t limit) {
    Scanner scanner;
    while (!scanner.IsComplete()) {
        const std::uint8_t *packet = reader.Next(limit);
        if (packet == nullptr)
            break;
        scanner.Push(packet);
    }
    return scanner.TakeServices();
}

ScanResult ScanServices(const std::string &path) {
    ts::PacketReader reader;
    if (!reader.Open(path))
        return {CannotRead(path, errno), {}};

    const bool hasPackets = reader.Next(kScanLimit) != nullptr;
    reader.Seek(0);
    ScanResult result;
    result.services = ts::ScanTables(reader, kScanLimit);
    if (reader.Error() != 0)
        return {CannotRead(path, reader.Error()), {}};
    if (!hasPackets)
        result.error = path + " is not a transport stream";
    else if (result.services.empty())
        result.error = path + " has no service that can be read";
    return result;
}

TvChannelInfo ChannelInfoOf(const Service &service) {
    TvChannelInfo info{};
    info.programNum = service.id;
    info.pcrPid = service.pcrPid;
    info.videoPid = 0xFFFF;
    if (const ElementaryStream *video = service.First(StreamKind::Video)) {
        info.videoPid = video->pid;
        info.videoCodecType = static_cast<std::uint8_t>(video->videoCodec);
    }
    const ElementaryStream *audio = service.First(StreamKind::Audio);
    if (audio == nullptr)
        audio = service.First(StreamKind::AudioDescription);
    if (audio != nullptr) {
        info.audioPid = audio->pid;
        info.audioCodecType = audio->audioCodec;
        info.multiSoundMode = MULTI_SOUND_STEREO;
    }
    return info;
}

}  // namespace tvdesktop
