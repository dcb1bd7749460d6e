/// @file
/// The TV's event bus.
#ifndef TVPLATFORM_TIEVENTMANAGER_H
#define TVPLATFORM_TIEVENTMANAGER_H

struct MOXHandle;

/// Takes events from any thread and hands them to the TV's services. Thread-safe. No function
/// throws: the library sends from inside the platform's own callbacks.
class TIEventManager {
  public:
    /// @return the process-wide event manager, or null when there is none; never freed
    static TIEventManager *Instance();

    /// Posts an event with its 16-byte record.
    /// @param event   number of the event
    /// @param data    the record, the caller's: copied before the call returns
    /// @param option  always 0
    /// @return        non-zero when the event was accepted
    int Send(int event, void *data, int option);

    /// The same, addressed with the handle of the sending instance.
    /// @param event   number of the event
    /// @param handle  the caller's: copied before the call returns
    /// @param data    the record, likewise
    /// @param option  always 0
    /// @return        non-zero when the event was accepted
    int Send(int event, const MOXHandle *handle, void *data, int option);
};

#endif
