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
/// Threads: thread-bound. None of these runs at the same time as another call of the service: it
/// keeps the instance pointer and makes no facade call on a callback thread. None throws.
class MOXPVR_EXPORT MoxPvrAPI {
  public:
    /// Registers a playback.
    /// @param handle  key of the new instance
    /// @param player  the platform player of tv_player.h, the caller's
    /// @param stream  the platform stream of tv_stream.h, the caller's
    /// @return 0 when an instance was registered; 1 for a null player or stream, or out of memory
    static int SetPlaybackHandleStream(MOXHandle handle, void *player, void *stream);

    /// @param handle  as registered
    /// @return the instance under the handle, owned by the library, or null
    static IMOXPVRPlayback *GetPlaybackInstance(MOXHandle handle);

    /// Deletes an instance; pointers to it end here. Nothing of the platform is called.
    /// @param handle  as registered
    /// @return 0, also for an unknown handle
    static int DestroyPlayback(MOXHandle handle);

    /// Registers a recorder, and registers for its callback.
    /// @param handle      key of the new instance
    /// @param recorder    the platform recorder of tv_recorder.h, the caller's
    /// @param tunerIndex  answered to recorder command 16, not used otherwise
    /// @return 0 when an instance was registered; 1 for a null recorder, or out of memory
    static int SetRecorderHandle(MOXHandle handle, void *recorder, int tunerIndex);

    /// @param handle  as registered
    /// @return the instance under the handle, owned by the library, or null
    static IMOXPVRRecorder *GetRecorderInstance(MOXHandle handle);

    /// Deletes an instance; pointers to it end here. Nothing of the platform is called.
    /// @param handle  as registered
    /// @return 0, also for an unknown handle
    static int DestroyRecorder(MOXHandle handle);
};

#endif
