/// @file
/// Sends the events of the library, and finds the detail codes of what the platform reports.
#ifndef MOXPVR_EVENTRECORD_H
#define MOXPVR_EVENTRECORD_H

#include <TIEventManager.h>

#include <cstddef>

#include "MOXHandle.h"
#include "MoxPvrProtocol.h"

namespace mox {

/// One row of a table from a platform's number (application type, error code) to its detail code.
struct DetailOf {
    int number;
    moxpvr::EventDetail detail;
};

/// @return the detail code of a number, None when the table has none
template <std::size_t Count>
moxpvr::EventDetail FindDetail(const DetailOf (&table)[Count], int number) {
    for (const DetailOf &row : table) {
        if (row.number == number)
            return row.detail;
    }
    return moxpvr::EventDetail::None;
}

/// The bytes of an event. Zeroed before they are filled, so that nothing of the stack leaves the
/// library.
struct EventRecord {
    template <typename Event>
    explicit EventRecord(const Event &event) {
        static_assert(moxpvr::EncodedSize(Event{}) == sizeof bytes);
        moxpvr::Encode(event, bytes);
    }

    alignas(8) unsigned char bytes[moxpvr::kEventSize] = {};
};

/// Posts SIGNAL_PVR_SYS_CHANGE.
/// @return whether it was accepted; false without an event manager
inline bool Send(const moxpvr::SysChangeEvent &event) {
    TIEventManager *manager = TIEventManager::Instance();
    EventRecord record(event);
    return manager != nullptr && manager->Send(moxpvr::SIGNAL_PVR_SYS_CHANGE, record.bytes, 0) != 0;
}

/// Posts SIGNAL_PVR_RECORDER_STARTED, addressed with the recorder's handle.
/// @return whether it was accepted
inline bool Send(const moxpvr::RecorderStartedEvent &event, TIEventManager &manager,
                 const MOXHandle &handle) {
    EventRecord record(event);
    return manager.Send(moxpvr::SIGNAL_PVR_RECORDER_STARTED, &handle, record.bytes, 0) != 0;
}

}  // namespace mox

#endif
