/// @file
/// Follows what a stream says of one service.
#ifndef TVDESKTOP_TS_SERVICEWATCH_H
#define TVDESKTOP_TS_SERVICEWATCH_H

#include <cstdint>
#include <optional>
#include <vector>

#include "ts/PsiTables.h"
#include "TvDesktop.h"

namespace tvdesktop::ts {

/// Packets go in, changes of a service's description come out: its PMT differs in more than its
/// version, the PAT names another PID for the PMT, or the PAT no longer names the service (whose
/// PMT is followed all the same). A PMT that is repeated is not decoded.
///
/// Threads: thread-bound.
class ServiceWatch {
  public:
    /// @param known  the description from which the first change differs; its name stays
    explicit ServiceWatch(Service known);

    /// @return the change that this packet has completed, without a time
    std::optional<ServiceChange> Push(const std::uint8_t *packet);

  private:
    void TakePat(const dvbpsi_psi_section_t &section);
    void TakePmt(Section section);
    void FollowPmtOn(std::uint16_t pid);

    Service m_known;
    bool m_isListed = true;
    bool m_isChanged = false;

    TableProgress m_patProgress;  ///< of the present round of the PAT's sections
    bool m_isInRound = false;     ///< they have named the service
    SectionReader m_pat;
    std::optional<SectionReader> m_pmt;
    std::vector<std::uint8_t> m_pmtBytes;  ///< the section decoded last
};

}  // namespace tvdesktop::ts

#endif
