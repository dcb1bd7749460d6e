/// @file
/// The TV's user-data manager (closed captions and the like beside a playback).
#ifndef TVPLATFORM_TIUSERDATAMANAGER_H
#define TVPLATFORM_TIUSERDATAMANAGER_H

struct MOXHandle;

/// One manager per handle, made on first use. Thread-bound: one thread at a time. No function
/// throws.
class TIUserDataManager {
  public:
    /// @param handle  who asks; the library always asks as (1, 20)
    /// @return the manager of a handle, or null when there is none; owned by the platform
    static TIUserDataManager *Instance(const MOXHandle &handle);

    /// Follows the user data of a stream.
    /// @param stream  of tv_stream.h; used until Stop
    /// @param option  always 1
    /// @return        a result that callers only log
    int Start(void *stream, int option);

    /// Leaves the stream.
    /// @return a result that callers only log
    int Stop();
};

#endif
