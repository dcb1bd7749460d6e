#include "ts/ServiceScan.h"

// libdvbpsi's headers need the standard types and one another, in this order.
#include <sys/types.h>

#include <cstdint>

#include <dvbpsi/dvbpsi.h>

#include <dvbpsi/psi.h>

#include <dvbpsi/descriptor.h>

#include <dvbpsi/pmt.h>

#include <algorithm>
#include <bitset>
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "system/Files.h"
#include "ts/DvbText.h"
#include "ts/PacketReader.h"
#include "ts/StreamKind.h"
#include "ts/TsPacket.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

constexpr std::uint64_t kScanLimit = 64 << 20;
constexpr std::uint16_t kSdtPid = 0x0011;
constexpr std::uint8_t kPatTable = 0x00;
constexpr std::uint8_t kPmtTable = 0x02;
constexpr std::uint8_t kSdtActualTable = 0x42;
constexpr std::uint8_t kServiceTag = 0x48;

// --- Tables --------------------------------------------------------------------------------------

struct SectionRelease {
    void operator()(dvbpsi_psi_section_t *section) const { dvbpsi_DeletePSISections(section); }
};
using Section = std::unique_ptr<dvbpsi_psi_section_t, SectionRelease>;

/// The sections of one PID, whole and with a right checksum, one by one.
class SectionReader {
  public:
    using Handler = std::function<void(Section)>;

    explicit SectionReader(Handler handler)
        : m_handle(dvbpsi_new(nullptr, DVBPSI_MSG_NONE)), m_handler(std::move(handler)) {
        m_handle->p_sys = this;
        m_handle->p_decoder = static_cast<dvbpsi_decoder_t *>(dvbpsi_decoder_new(
            &SectionReader::OnSection, kLongestSection, true, sizeof(dvbpsi_decoder_t)));
    }
    SectionReader(const SectionReader &) = delete;
    SectionReader &operator=(const SectionReader &) = delete;
    ~SectionReader() {
        dvbpsi_decoder_delete(m_handle->p_decoder);
        m_handle->p_decoder = nullptr;
        dvbpsi_delete(m_handle);
    }

    void Push(const std::uint8_t *packet) const {
        std::uint8_t copy[ts::kPacketSize];
        std::memcpy(copy, packet, sizeof copy);
        dvbpsi_packet_push(m_handle, copy);
    }

  private:
    static constexpr int kLongestSection = 1024;

    static void OnSection(dvbpsi_t *handle, dvbpsi_psi_section_t *section) {
        static_cast<SectionReader *>(handle->p_sys)->m_handler(Section(section));
    }

    dvbpsi_t *m_handle;
    Handler m_handler;
};

std::uint16_t Word(const std::uint8_t *bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

/// Which sections of a table were seen; the first version that comes counts, next to none.
class TableProgress {
  public:
    /// @return whether the section is one of that table and new
    bool Take(const dvbpsi_psi_section_t &section) {
        if (!section.b_current_next)
            return false;
        if (m_seen.none())
            m_first = {section.i_extension, section.i_version, section.i_last_number};
        const Identity identity{section.i_extension, section.i_version, section.i_last_number};
        if (identity != m_first || m_seen[section.i_number])
            return false;
        m_seen.set(section.i_number);
        return true;
    }

    bool IsComplete() const { return m_seen.count() == std::get<2>(m_first) + std::size_t{1}; }

  private:
    using Identity = std::tuple<std::uint16_t, std::uint8_t, std::uint8_t>;

    Identity m_first;
    std::bitset<256> m_seen;
};

struct PmtRelease {
    void operator()(dvbpsi_pmt_t *pmt) const { dvbpsi_pmt_delete(pmt); }
};
using Pmt = std::unique_ptr<dvbpsi_pmt_t, PmtRelease>;

/// The decoder trusts program_info_length (ISO/IEC 13818-1, 2.4.4.8) and would read beyond a
/// section that is shorter.
bool IsWholePmt(const dvbpsi_psi_section_t &section) {
    const std::uint8_t *payload = section.p_payload_start;
    const std::ptrdiff_t size = section.p_payload_end - payload;
    return section.i_table_id == kPmtTable && section.b_current_next &&
           section.i_last_number == 0 && size >= 4 && (Word(payload + 2) & 0x0FFF) <= size - 4;
}

/// Decodes a PMT, which has one section. @return null for what is not a PMT
Pmt DecodePmt(Section section) {
    Pmt decoded;
    if (!IsWholePmt(*section))
        return decoded;
    const auto take = [](void *to, dvbpsi_pmt_t *pmt) { static_cast<Pmt *>(to)->reset(pmt); };
    dvbpsi_t *handle = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    if (dvbpsi_pmt_attach(handle, section->i_extension, take, &decoded)) {
        handle->p_decoder->pf_gather(handle, section.release());
        dvbpsi_pmt_detach(handle);
    }
    dvbpsi_delete(handle);
    return decoded;
}

/// Collects the tables of one stream; packets go in, services come out. What it does for a packet
/// does not depend on how many services there are.
class Scanner {
  public:
    Scanner()
        : m_pat([this](const Section &section) { TakePat(*section); }),
          m_sdt([this](const Section &section) { TakeSdt(*section); }) {}

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

    /// Program 0 names the network information, not a service.
    void TakePat(const dvbpsi_psi_section_t &section) {
        if (section.i_table_id != kPatTable || !m_patProgress.Take(section))
            return;
        for (const std::uint8_t *entry = section.p_payload_start;
             section.p_payload_end - entry >= 4; entry += 4) {
            const std::uint16_t id = Word(entry);
            const auto pid = static_cast<std::uint16_t>(Word(entry + 2) & 0x1FFF);
            if (id == 0 || !m_pmtPids.emplace(id, pid).second)
                continue;
            m_pmts.try_emplace(pid, [this, pid](Section pmt) { TakePmt(pid, std::move(pmt)); });
        }
    }

    void TakePmt(std::uint16_t pid, Section section) {
        const std::uint16_t id = section->i_extension;
        const auto program = m_pmtPids.find(id);
        if (program == m_pmtPids.end() || program->second != pid || m_complete.count(id) != 0)
            return;
        const auto pmt = DecodePmt(std::move(section));
        if (!pmt)
            return;
        Service service;
        service.id = id;
        service.pmtPid = pid;
        service.pcrPid = pmt->i_pcr_pid;
        for (const auto *entry = pmt->p_first_es; entry != nullptr; entry = entry->p_next)
            service.streams.push_back(ts::StreamFromPmt(*entry));
        m_complete.emplace(id, std::move(service));
    }

    void TakeSdt(const dvbpsi_psi_section_t &section) {
        if (section.i_table_id != kSdtActualTable || !m_sdtProgress.Take(section))
            return;
        constexpr std::ptrdiff_t kHeader = 5;  // service_id to descriptors_loop_length
        const std::uint8_t *entry = section.p_payload_start + 3;
        while (section.p_payload_end - entry >= kHeader) {
            const std::ptrdiff_t length = kHeader + (Word(entry + 3) & 0x0FFF);
            if (section.p_payload_end - entry < length)
                return;
            TakeDescriptors(Word(entry), entry + kHeader, entry + length);
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
    std::map<std::uint16_t, std::uint16_t> m_pmtPids;  ///< by service id
    std::map<std::uint16_t, SectionReader> m_pmts;     ///< by PID, which services may share
    TableProgress m_patProgress;
    TableProgress m_sdtProgress;
    SectionReader m_pat;
    SectionReader m_sdt;
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
