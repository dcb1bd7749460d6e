/// @file
/// The TV's user-data manager (closed captions and the like beside a playback).
#ifndef TVPLATFORM_TIUSERDATAMANAGER_H
#define TVPLATFORM_TIUSERDATAMANAGER_H

struct MOXHandle;

/// One manager per handle, made on first use. Thread-bound: one thread at a time. No function
/// throws.
class TIUserDataManager {
  public:
    /// @return the manager of a handle, or null when there is none; owned by the platform
    static TIUserDataManager *Instance(const MOXHandle &handle);

    /// Follows the user data of a stream.
    /// @return a result that callers only log
    int Start(void *stream, int option);
    int Stop();
};

#endif
