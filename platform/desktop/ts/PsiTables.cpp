#include "ts/PsiTables.h"

#include <dvbpsi/descriptor.h>

#include <dvbpsi/pmt.h>

#include <cstddef>
#include <cstring>
#include <utility>

#include "ts/StreamKind.h"
#include "ts/TsPacket.h"

namespace tvdesktop::ts {

namespace {

constexpr std::uint8_t kPmtTable = 0x02;

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

/// @return null for what is not a PMT
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

}  // namespace

SectionReader::SectionReader(Handler handler)
    : m_handle(dvbpsi_new(nullptr, DVBPSI_MSG_NONE)), m_handler(std::move(handler)) {
    m_handle->p_sys = this;
    m_handle->p_decoder = static_cast<dvbpsi_decoder_t *>(dvbpsi_decoder_new(
        &SectionReader::OnSection, kLongestSection, true, sizeof(dvbpsi_decoder_t)));
}

SectionReader::~SectionReader() {
    dvbpsi_decoder_delete(m_handle->p_decoder);
    m_handle->p_decoder = nullptr;
    dvbpsi_delete(m_handle);
}

void SectionReader::Push(const std::uint8_t *packet) const {
    std::uint8_t copy[kPacketSize];
    std::memcpy(copy, packet, sizeof copy);
    dvbpsi_packet_push(m_handle, copy);
}

void SectionReader::OnSection(dvbpsi_t *handle, dvbpsi_psi_section_t *section) {
    static_cast<SectionReader *>(handle->p_sys)->m_handler(Section(section));
}

TableProgress::Identity TableProgress::IdentityOf(const dvbpsi_psi_section_t &section) {
    return {section.i_extension, section.i_version, section.i_last_number};
}

bool TableProgress::Fits(const dvbpsi_psi_section_t &section) const {
    return section.b_current_next && (m_seen.none() || IdentityOf(section) == m_first);
}

bool TableProgress::Take(const dvbpsi_psi_section_t &section) {
    if (!Fits(section) || m_seen[section.i_number])
        return false;
    m_first = IdentityOf(section);
    m_seen.set(section.i_number);
    return true;
}

std::optional<Service> ServiceFromPmt(Section section, std::uint16_t pmtPid) {
    const std::uint16_t id = section->i_extension;
    const Pmt pmt = DecodePmt(std::move(section));
    if (!pmt)
        return std::nullopt;
    Service service;
    service.id = id;
    service.pmtPid = pmtPid;
    service.pcrPid = pmt->i_pcr_pid;
    for (const auto *entry = pmt->p_first_es; entry != nullptr; entry = entry->p_next)
        service.streams.push_back(StreamFromPmt(*entry));
    return service;
}

}  // namespace tvdesktop::ts
