/// @file
/// The key under which the library keeps one recorder or playback instance.
#ifndef MOXPVR_MOXHANDLE_H
#define MOXPVR_MOXHANDLE_H

/// Profile types of @ref MOXHandle::profileId. Every value that is not listed counts as unknown.
enum ProfileType : int {
    PROFILE_TYPE_UNKNOWN = 0,
    PROFILE_TYPE_MAIN = 1,
    PROFILE_TYPE_PIP = 101,
    PROFILE_TYPE_DUAL = 201,
    PROFILE_TYPE_RECORD = 301,
    PROFILE_TYPE_ANALYSIS = 401,
};

/// Names one instance; passed by value. Trivially copyable. Two handles are equal when both fields
/// are; bytes after `subId` never count.
///
/// Threads: a plain value, safe to copy anywhere.
struct MOXHandle {
    int profileId = PROFILE_TYPE_MAIN;  ///< profile type, signed 32 bits
    unsigned short subId = 0;           ///< distinguishes instances of one profile type
};

/// Order of the registries: by `profileId` (signed), then by `subId` (unsigned).
/// @param left   one handle
/// @param right  another
/// @return       whether `left` comes first
inline bool operator<(const MOXHandle &left, const MOXHandle &right) {
    if (left.profileId != right.profileId)
        return left.profileId < right.profileId;
    return left.subId < right.subId;
}

/// @param left   one handle
/// @param right  another
/// @return       whether both fields are equal
inline bool operator==(const MOXHandle &left, const MOXHandle &right) {
    return left.profileId == right.profileId && left.subId == right.subId;
}

#endif
