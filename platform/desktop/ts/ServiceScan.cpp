#include "ServiceScan.h"

// libdvbpsi's headers need the standard types and one another, in this order.
#include <sys/types.h>

#include <cstdint>

#include <dvbpsi/dvbpsi.h>

#include <dvbpsi/psi.h>

#include <dvbpsi/descriptor.h>

#include <dvbpsi/demux.h>
#include <dvbpsi/dr_0a.h>
#include <dvbpsi/dr_48.h>
#include <dvbpsi/pat.h>
#include <dvbpsi/pmt.h>
#include <dvbpsi/sdt.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

#include "DvbText.h"
#include "PacketReader.h"
#include "system/RegularFile.h"
#include "TsPacket.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

constexpr std::uint64_t kScanLimit = 64 << 20;
constexpr std::uint16_t kSdtPid = 0x0011;
constexpr std::uint8_t kSdtActualTable = 0x42;

// --- Kinds of elementary streams -----------------------------------------------------------------

struct Codec {
    int key;  ///< stream_type or descriptor_tag
    StreamKind kind;
    const char *name;
    EVideoEncodeType video;
    EAudioEncodeType audio;
};

/// By stream_type: ISO/IEC 13818-1, table 2-34; 0x81 and 0x87: ATSC A/53 part 3.
constexpr Codec kByStreamType[] = {
    {0x01, StreamKind::Video, "MPEG-1", VIDEO_ENCODE_MPEG1, AUDIO_ENCODE_UNKNOWN},
    {0x02, StreamKind::Video, "MPEG-2", VIDEO_ENCODE_MPEG2, AUDIO_ENCODE_UNKNOWN},
    {0x10, StreamKind::Video, "MPEG-4", VIDEO_ENCODE_MPEG4, AUDIO_ENCODE_UNKNOWN},
    {0x1B, StreamKind::Video, "H.264", VIDEO_ENCODE_H264, AUDIO_ENCODE_UNKNOWN},
    {0x24, StreamKind::Video, "HEVC", VIDEO_ENCODE_HEVC, AUDIO_ENCODE_UNKNOWN},
    {0x03, StreamKind::Audio, "MPEG-1 audio", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_MPEG1},
    {0x04, StreamKind::Audio, "MPEG-2 audio", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_MPEG2},
    {0x0F, StreamKind::Audio, "AAC", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AAC},
    {0x11, StreamKind::Audio, "HE-AAC", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_HEAAC},
    {0x81, StreamKind::Audio, "AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AC3},
    {0x87, StreamKind::Audio, "E-AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_EAC3},
    {0x05, StreamKind::Other, "private sections", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
    {0x06, StreamKind::Other, "private data", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
};

/// Private data by the descriptor that explains it: ETSI EN 300 468, table 12.
constexpr Codec kByDescriptor[] = {
    {0x6A, StreamKind::Audio, "AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AC3},
    {0x7A, StreamKind::Audio, "E-AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_EAC3},
    {0x7C, StreamKind::Audio, "AAC", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AAC},
    {0x7B, StreamKind::Audio, "DTS", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
    {0x56, StreamKind::Other, "teletext", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
    {0x59, StreamKind::Other, "subtitles", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
};

constexpr int kPrivateData = 0x06;
constexpr std::uint8_t kLanguageTag = 0x0A;
constexpr std::uint8_t kServiceTag = 0x48;
constexpr std::uint8_t kExtensionTag = 0x7F;
constexpr std::uint8_t kSupplementaryAudio = 0x06;  ///< extension: ETSI EN 300 468, 6.4.11
constexpr std::uint8_t kVisuallyImpaired = 0x03;    ///< audio_type: ISO/IEC 13818-1, 2.6.19

template <std::size_t size>
const Codec *Find(const Codec (&table)[size], int key) {
    const auto *found = std::find_if(std::begin(table), std::end(table),
                                     [key](const Codec &codec) { return codec.key == key; });
    return found != std::end(table) ? found : nullptr;
}

void Apply(const Codec *codec, ElementaryStream &stream) {
    if (codec == nullptr)
        return;
    stream.kind = codec->kind;
    stream.codec = codec->name;
    stream.videoCodec = codec->video;
    stream.audioCodec = codec->audio;
}

/// Takes the first language; an audio type for the visually impaired marks audio description.
bool ReadLanguage(dvbpsi_descriptor_t *descriptor, ElementaryStream &stream) {
    const dvbpsi_iso639_dr_t *decoded = dvbpsi_DecodeISO639Dr(descriptor);
    if (decoded == nullptr || decoded->i_code_count == 0)
        return false;
    const auto &first = decoded->code[0];
    stream.language.assign(reinterpret_cast<const char *>(first.iso_639_code), 3);
    return first.i_audio_type == kVisuallyImpaired;
}

/// editorial_classification 1: audio description for the visually impaired.
bool IsDescriptionBySupplement(const dvbpsi_descriptor_t &descriptor) {
    return descriptor.i_length >= 2 && descriptor.p_data[0] == kSupplementaryAudio &&
           (descriptor.p_data[1] >> 2 & 0x1F) == 1;
}

ElementaryStream StreamFromPmt(const dvbpsi_pmt_es_t &entry) {
    ElementaryStream stream;
    stream.pid = entry.i_pid;
    stream.streamType = entry.i_type;
    Apply(Find(kByStreamType, entry.i_type), stream);
    bool isDescription = false;
    for (auto *descriptor = entry.p_first_descriptor; descriptor != nullptr;
         descriptor = descriptor->p_next) {
        if (entry.i_type == kPrivateData)
            Apply(Find(kByDescriptor, descriptor->i_tag), stream);
        if (descriptor->i_tag == kLanguageTag)
            isDescription |= ReadLanguage(descriptor, stream);
        if (descriptor->i_tag == kExtensionTag)
            isDescription |= IsDescriptionBySupplement(*descriptor);
    }
    if (stream.kind == StreamKind::Audio && isDescription)
        stream.kind = StreamKind::AudioDescription;
    if (stream.codec.empty())
        stream.codec = "type " + std::to_string(entry.i_type);
    return stream;
}

// --- Tables --------------------------------------------------------------------------------------

/// One table decoder; detached and deleted with its last owner.
class Decoder {
  public:
    using Detach = void (*)(dvbpsi_t *);

    explicit Decoder(Detach detach)
        : m_handle(dvbpsi_new(nullptr, DVBPSI_MSG_NONE)), m_detach(detach) {}
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;
    ~Decoder() {
        if (dvbpsi_decoder_present(m_handle))
            m_detach(m_handle);
        dvbpsi_delete(m_handle);
    }

    dvbpsi_t *Get() const { return m_handle; }
    void Push(const std::uint8_t *packet) const {
        std::uint8_t copy[ts::kPacketSize];
        std::memcpy(copy, packet, sizeof copy);
        dvbpsi_packet_push(m_handle, copy);
    }

    /// Looks at every PMT section before the attached decoder does. That one trusts
    /// program_info_length (ISO/IEC 13818-1, 2.4.4.8) and reads on behind a section that is
    /// shorter; such a section is dropped.
    void GuardPmt() {
        if (!dvbpsi_decoder_present(m_handle))
            return;
        m_gather = m_handle->p_decoder->pf_gather;
        m_handle->p_sys = this;
        m_handle->p_decoder->pf_gather = &Decoder::GatherPmt;
    }

  private:
    static void GatherPmt(dvbpsi_t *handle, dvbpsi_psi_section_t *section) {
        const std::uint8_t *payload = section->p_payload_start;
        const std::ptrdiff_t size = section->p_payload_end - payload;
        if (size >= 4 && ((payload[2] & 0x0F) << 8 | payload[3]) <= size - 4)
            static_cast<Decoder *>(handle->p_sys)->m_gather(handle, section);
        else
            dvbpsi_DeletePSISections(section);
    }

    dvbpsi_t *m_handle;
    Detach m_detach;
    dvbpsi_callback_gather_t m_gather = nullptr;
};

/// Collects the tables of one stream; packets go in, services come out.
class Scanner {
  public:
    Scanner() : m_pat(dvbpsi_pat_detach), m_sdt(dvbpsi_DetachDemux) {
        dvbpsi_pat_attach(m_pat.Get(), &Scanner::OnPat, this);
        dvbpsi_AttachDemux(m_sdt.Get(), &Scanner::OnNewTable, this);
    }

    void Push(const std::uint8_t *packet) {
        if (ts::TransportError(packet))
            return;
        const std::uint16_t pid = ts::Pid(packet);
        if (pid == ts::kPatPid)
            m_pat.Push(packet);
        else if (pid == kSdtPid)
            m_sdt.Push(packet);
        const auto [first, last] = m_pmts.equal_range(pid);
        for (auto pmt = first; pmt != last; ++pmt)
            pmt->second->Push(packet);
    }

    bool IsComplete() const { return m_hasPat && m_hasSdt && m_complete.size() == m_pmts.size(); }

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

    static void OnPat(void *self, dvbpsi_pat_t *pat) {
        static_cast<Scanner *>(self)->TakePat(*pat);
        dvbpsi_pat_delete(pat);
    }

    static void OnPmt(void *self, dvbpsi_pmt_t *pmt) {
        static_cast<Scanner *>(self)->TakePmt(*pmt);
        dvbpsi_pmt_delete(pmt);
    }

    static void OnSdt(void *self, dvbpsi_sdt_t *sdt) {
        static_cast<Scanner *>(self)->TakeSdt(*sdt);
        dvbpsi_sdt_delete(sdt);
    }

    static void OnNewTable(dvbpsi_t *handle, std::uint8_t table, std::uint16_t extension,
                           void *self) {
        if (table == kSdtActualTable)
            dvbpsi_sdt_attach(handle, table, extension, &Scanner::OnSdt, self);
    }

    /// The first PAT counts; program 0 names the network information, no service.
    void TakePat(const dvbpsi_pat_t &pat) {
        if (m_hasPat)
            return;
        m_hasPat = true;
        for (auto *program = pat.p_first_program; program != nullptr; program = program->p_next) {
            if (program->i_number == 0 || m_pmtPids.count(program->i_number) != 0)
                continue;
            auto decoder = std::make_unique<Decoder>(dvbpsi_pmt_detach);
            dvbpsi_pmt_attach(decoder->Get(), program->i_number, &Scanner::OnPmt, this);
            decoder->GuardPmt();
            m_pmtPids[program->i_number] = program->i_pid;
            m_pmts.emplace(program->i_pid, std::move(decoder));
        }
    }

    void TakePmt(const dvbpsi_pmt_t &pmt) {
        if (m_complete.count(pmt.i_program_number) != 0)
            return;
        Service service;
        service.id = pmt.i_program_number;
        service.pmtPid = m_pmtPids[service.id];
        service.pcrPid = pmt.i_pcr_pid;
        for (auto *entry = pmt.p_first_es; entry != nullptr; entry = entry->p_next)
            service.streams.push_back(StreamFromPmt(*entry));
        m_complete.emplace(service.id, std::move(service));
    }

    void TakeSdt(const dvbpsi_sdt_t &sdt) {
        m_hasSdt = true;
        for (auto *entry = sdt.p_first_service; entry != nullptr; entry = entry->p_next) {
            for (auto *descriptor = entry->p_first_descriptor; descriptor != nullptr;
                 descriptor = descriptor->p_next) {
                if (descriptor->i_tag == kServiceTag)
                    TakeNames(entry->i_service_id, descriptor);
            }
        }
    }

    void TakeNames(std::uint16_t id, dvbpsi_descriptor_t *descriptor) {
        const dvbpsi_service_dr_t *names = dvbpsi_DecodeServiceDr(descriptor);
        if (names == nullptr)
            return;
        m_names[id] = Names{ts::DvbTextToUtf8(names->i_service_name, names->i_service_name_length),
                            ts::DvbTextToUtf8(names->i_service_provider_name,
                                              names->i_service_provider_name_length)};
    }

    bool m_hasPat = false;
    bool m_hasSdt = false;
    std::map<std::uint16_t, Service> m_complete;
    std::map<std::uint16_t, Names> m_names;
    std::map<std::uint16_t, std::uint16_t> m_pmtPids;  ///< by service id
    std::multimap<std::uint16_t, std::unique_ptr<Decoder>> m_pmts;
    Decoder m_pat;
    Decoder m_sdt;
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
