#include "ts/ServiceWatch.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "ts/TsPacket.h"

namespace tvdesktop::ts {

namespace {

bool IsSameStream(const ElementaryStream &left, const ElementaryStream &right) {
    const auto fields = [](const ElementaryStream &stream) {
        return std::tie(stream.pid, stream.streamType, stream.kind, stream.codec, stream.language,
                        stream.videoCodec, stream.audioCodec);
    };
    return fields(left) == fields(right);
}

bool HasSameStreams(const Service &left, const Service &right) {
    return left.pcrPid == right.pcrPid &&
           std::equal(left.streams.begin(), left.streams.end(), right.streams.begin(),
                      right.streams.end(), IsSameStream);
}

}  // namespace

ServiceWatch::ServiceWatch(Service known)
    : m_known(std::move(known)), m_pat([this](const Section &section) { TakePat(*section); }) {
    FollowPmtOn(m_known.pmtPid);
}

std::optional<ServiceChange> ServiceWatch::Push(const std::uint8_t *packet) {
    const std::uint16_t pid = Pid(packet);
    if ((pid != kPatPid && pid != m_known.pmtPid) || TransportError(packet))
        return std::nullopt;
    (pid == kPatPid ? m_pat : *m_pmt).Push(packet);
    if (!std::exchange(m_isChanged, false))
        return std::nullopt;
    return ServiceChange{m_known, m_isListed, 0};
}

/// Every round of the sections counts anew. As in a scan, the first entry of a service counts.
void ServiceWatch::TakePat(const dvbpsi_psi_section_t &section) {
    if (section.i_table_id != kPatTable || !section.b_current_next)
        return;
    if (m_patProgress.IsComplete() || !m_patProgress.Fits(section)) {
        m_patProgress = {};
        m_isInRound = false;
    }
    m_patProgress.Take(section);
    ForEachProgram(section, [this](std::uint16_t id, std::uint16_t pid) {
        if (id == m_known.id && !std::exchange(m_isInRound, true) && pid != m_known.pmtPid)
            FollowPmtOn(pid);
    });
    const bool isListed = m_isInRound || (m_isListed && !m_patProgress.IsComplete());
    m_isChanged |= isListed != m_isListed;
    m_isListed = isListed;
}

void ServiceWatch::FollowPmtOn(std::uint16_t pid) {
    m_isChanged = pid != m_known.pmtPid;
    m_known.pmtPid = pid;
    m_pmtBytes.clear();
    m_pmt.emplace([this](Section section) { TakePmt(std::move(section)); });
}

void ServiceWatch::TakePmt(Section section) {
    const bool isRepeated =
        std::equal(m_pmtBytes.begin(), m_pmtBytes.end(), section->p_data, section->p_payload_end);
    if (section->i_extension != m_known.id || isRepeated)
        return;
    std::vector<std::uint8_t> bytes(section->p_data, section->p_payload_end);
    auto service = ServiceFromPmt(std::move(section), m_known.pmtPid);
    if (!service)
        return;
    m_pmtBytes = std::move(bytes);
    m_isChanged |= !HasSameStreams(*service, m_known);
    m_known.pcrPid = service->pcrPid;
    m_known.streams = std::move(service->streams);
}

}  // namespace tvdesktop::ts
