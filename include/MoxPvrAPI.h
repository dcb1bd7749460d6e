/// @file
/// The facade through which the TV's services reach instances under any handle.
#ifndef MOXPVR_MOXPVRAPI_H
#define MOXPVR_MOXPVRAPI_H

#include "IMOXPVRPlayback.h"
#include "IMOXPVRRecorder.h"
#include "MOXHandle.h"
#include "MoxPvrExport.h"

/// Registers, finds and destroys instances.
///
/// Platform objects stay the caller's. Registering a handle again replaces its instance without
/// destroying the earlier one, so destroy it first. Stop and release a platform recorder before
/// its instance is destroyed: the callback registration outlives the instance.
///
/// Threads: thread-bound. Registration, lookup and destruction never run beside anything else: a
/// service keeps the instance pointer and makes no facade call on a callback thread.
class MOXPVR_EXPORT MoxPvrAPI {
  public:
    /// @return 0 when an instance was registered; 1 for a null player or stream, or out of memory
    static int SetPlaybackHandleStream(MOXHandle handle, void *player, void *stream);

    /// @return the instance under the handle, owned by the library, or null
    static IMOXPVRPlayback *GetPlaybackInstance(MOXHandle handle);

    /// @return 0, also for an unknown handle
    static int DestroyPlayback(MOXHandle handle);

    /// @param tunerIndex  reported by recorder command 16
    /// @return 0 when an instance was registered; 1 for a null recorder, or out of memory
    static int SetRecorderHandle(MOXHandle handle, void *recorder, int tunerIndex);

    /// @return the instance under the handle, owned by the library, or null
    static IMOXPVRRecorder *GetRecorderInstance(MOXHandle handle);

    /// @return 0, also for an unknown handle
    static int DestroyRecorder(MOXHandle handle);
};

#endif
