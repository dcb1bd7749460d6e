/// @file
/// The tables that name the services of a stream (ISO/IEC 13818-1, 2.4.4).
#ifndef TVDESKTOP_TS_PSITABLES_H
#define TVDESKTOP_TS_PSITABLES_H

// libdvbpsi's headers need the standard types and one another, in this order.
#include <sys/types.h>

#include <cstdint>

#include <dvbpsi/dvbpsi.h>

#include <dvbpsi/psi.h>

#include <bitset>
#include <functional>
#include <memory>
#include <optional>
#include <tuple>

#include "TvDesktop.h"

namespace tvdesktop::ts {

inline constexpr std::uint8_t kPatTable = 0x00;

struct SectionRelease {
    void operator()(dvbpsi_psi_section_t *section) const { dvbpsi_DeletePSISections(section); }
};
using Section = std::unique_ptr<dvbpsi_psi_section_t, SectionRelease>;

/// The sections of one PID, whole and with a right checksum, one by one. Threads: thread-bound.
class SectionReader {
  public:
    using Handler = std::function<void(Section)>;

    explicit SectionReader(Handler handler);
    SectionReader(const SectionReader &) = delete;
    SectionReader &operator=(const SectionReader &) = delete;
    ~SectionReader();

    void Push(const std::uint8_t *packet) const;

  private:
    static constexpr int kLongestSection = 1024;

    static void OnSection(dvbpsi_t *handle, dvbpsi_psi_section_t *section);

    dvbpsi_t *m_handle;
    Handler m_handler;
};

inline std::uint16_t Word(const std::uint8_t *bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

/// Which sections of a table were seen; the first version that comes counts, next to none.
class TableProgress {
  public:
    /// @return whether the section is one of that table and new
    bool Take(const dvbpsi_psi_section_t &section);
    /// @return whether the section is one of that table, or the first
    bool Fits(const dvbpsi_psi_section_t &section) const;
    bool IsComplete() const { return m_seen.count() == std::get<2>(m_first) + std::size_t{1}; }

  private:
    using Identity = std::tuple<std::uint16_t, std::uint8_t, std::uint8_t>;

    static Identity IdentityOf(const dvbpsi_psi_section_t &section);

    Identity m_first;
    std::bitset<256> m_seen;
};

/// Calls visit(program_number, PMT PID) for every service that a section of a PAT names. Program 0
/// names the network information, not a service.
template <typename Visitor>
void ForEachProgram(const dvbpsi_psi_section_t &section, Visitor &&visit) {
    for (const std::uint8_t *entry = section.p_payload_start; section.p_payload_end - entry >= 4;
         entry += 4) {
        if (const std::uint16_t id = Word(entry); id != 0)
            visit(id, static_cast<std::uint16_t>(Word(entry + 2) & 0x1FFF));
    }
}

/// Reads a PMT, which has one section.
/// @return a service without its name; nothing for what is not a PMT, or not in force yet
std::optional<Service> ServiceFromPmt(Section section, std::uint16_t pmtPid);

}  // namespace tvdesktop::ts

#endif
