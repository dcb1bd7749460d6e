/// @file
/// The 16-byte record that goes to the service with every event.
#ifndef MOXPVR_EVENTRECORD_H
#define MOXPVR_EVENTRECORD_H

#include <TIEventManager.h>

#include <cstdint>

#include "MOXHandle.h"
#include "WireRecord.h"

namespace mox {

enum EventNumber : int {
    SIGNAL_PVR_SYS_CHANGE = 31,
    SIGNAL_PVR_RECORDER_STARTED = 32769,
};

/// Detail codes (`c1`) of SIGNAL_PVR_SYS_CHANGE.
enum EventDetail : std::uint8_t {
    kNoDetail = 0,
    kPlaybackApplication0 = 1,
    kPlaybackApplication1 = 2,
    kPlaybackUnmute = 3,
    kPlaybackError1 = 51,
    kPlaybackError3 = 52,
    kRecorderApplication2 = 101,
    kRecorderApplication4 = 102,
    kRecorderError0 = 151,
    kRecorderError2 = 152,
    kRecorderError4 = 153,
    kRecorderSoundCommand2 = 154,
};

/// One row of a table from a platform's number (application type, error code) to its detail code.
struct DetailOf {
    int number;
    EventDetail detail;
};

/// @return the detail code of a number, kNoDetail when the table has none
template <std::size_t Count>
EventDetail FindDetail(const DetailOf (&table)[Count], int number) {
    for (const DetailOf &row : table) {
        if (row.number == number)
            return row.detail;
    }
    return kNoDetail;
}

/// Zeroed before it is filled, so that nothing of the stack leaves the library: `c0` at byte 0,
/// `c1` at byte 1, the signed words L1 to L3 at bytes 4, 8 and 12, or a service id at bytes 8
/// to 15.
class EventRecord {
  public:
    EventRecord(std::uint8_t c0, EventDetail c1) : m_bytes{c0, c1} {}

    std::uint8_t c0() const { return m_bytes[0]; }
    std::uint8_t c1() const { return m_bytes[1]; }

    void SetWord(std::size_t word, std::int32_t value) {
        PutLittleEndian(m_bytes + 4 * word, static_cast<std::uint32_t>(value), 4);
    }
    void SetServiceId(std::uint64_t id) { PutLittleEndian(m_bytes + 8, id, 8); }

    /// Posts SIGNAL_PVR_SYS_CHANGE.
    /// @return whether it was accepted; false without an event manager
    bool SendSysChange() {
        TIEventManager *manager = TIEventManager::Instance();
        return manager != nullptr && manager->Send(SIGNAL_PVR_SYS_CHANGE, m_bytes, 0) != 0;
    }

    /// Posts SIGNAL_PVR_RECORDER_STARTED, addressed with the recorder's handle.
    bool SendRecorderStarted(TIEventManager &manager, const MOXHandle &handle) {
        return manager.Send(SIGNAL_PVR_RECORDER_STARTED, &handle, m_bytes, 0) != 0;
    }

  private:
    alignas(8) unsigned char m_bytes[16];
};

}  // namespace mox

#endif
