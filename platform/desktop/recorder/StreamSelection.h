/// @file
/// Which PIDs a recorder keeps.
#ifndef TVDESKTOP_RECORDER_STREAMSELECTION_H
#define TVDESKTOP_RECORDER_STREAMSELECTION_H

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "ts/PacketFilter.h"

namespace tvdesktop {

/// The PIDs programmed by property.
///
/// - There is one video, one main audio and one PCR PID; a new one takes the place of the last.
///   0, 0x1FFF and values that are not PIDs mean none.
/// - The PCR PID of channel information counts like a programmed one: without its clock a recording
///   could not be played. Without any PCR PID the main audio PID is taken for it, which is where
///   radio services carry it.
/// - A PID is kept or not, however often it was added: one removal ends it in every role.
/// - PIDs that were added together with main PIDs (audio description, second video) are companions
///   of that service. Nobody removes them one by one, so they go when a main PID of the service is
///   removed, and when a list with a video PID or with companions of its own names another service.
///   Thus nothing of the earlier service is left after a channel change inside a recording.
///
/// Threads: a plain value.
class StreamSelection {
  public:
    /// One PID property of a list: its id (TvRecorderProperty) and its value.
    struct PidProperty {
        int id;
        int value;
    };

    /// Applies the PID properties of one list in their order.
    void Apply(const std::vector<PidProperty> &list);

    /// Values of properties 28, 48 and 49 must be PIDs, those of 24, 25 and 29 may mean none.
    static bool IsValid(const PidProperty &property);

    void TakePcrPidOf(int channelPcrPid);

    /// @return the table of PIDs to keep
    ts::PidTable Table() const;

    /// The PIDs of a service are removed one by one, and meanwhile the audio PID is not a clock:
    /// the clock stays until another main or channel PCR PID is programmed.
    /// @return the PID whose PCRs are the recording's clock, if one is known
    std::optional<std::uint16_t> ClockPid() const { return m_clock; }

  private:
    using Pid = std::uint16_t;

    void SetMain(std::optional<Pid> &role, int value);
    void Remove(Pid pid);

    std::optional<Pid> m_video;
    std::optional<Pid> m_audio;
    std::optional<Pid> m_pcr;
    std::optional<Pid> m_clock;
    std::set<Pid> m_mains;  ///< every main PID of the service, replaced ones included
    std::set<Pid> m_companions;
    std::set<Pid> m_added;
};

}  // namespace tvdesktop

#endif
