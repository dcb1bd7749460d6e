/// @file
/// How the stand-in tells its objects apart when they come back as opaque pointers.
#ifndef TVDESKTOP_SYSTEM_PLATFORMOBJECT_H
#define TVDESKTOP_SYSTEM_PLATFORMOBJECT_H

#include <cstdint>

namespace tvdesktop {

/// First (and non-virtual) base of every object that a program receives as `void *`. The pointer
/// handed out is always that of this base: `static_cast<PlatformObject *>(object)`.
///
/// Threads: the kind never changes while the object lives.
struct PlatformObject {
    enum class Kind : std::uint32_t {
        Gone = 0,
        Recorder = 0x52435244,
        Player = 0x504C5952,
        Stream = 0x5354524D,
    };

    explicit PlatformObject(Kind objectKind) : kind(objectKind) {}
    ~PlatformObject() { kind = Kind::Gone; }
    PlatformObject(const PlatformObject &) = delete;
    PlatformObject &operator=(const PlatformObject &) = delete;

    Kind kind;
};

/// @tparam Object  class derived from PlatformObject, with its kind in `Object::kKind`
/// @return the object behind a pointer that a caller passed in; null for null and for an object of
///         another kind
template <typename Object>
Object *ObjectAs(void *pointer) {
    auto *header = static_cast<PlatformObject *>(pointer);
    return header != nullptr && header->kind == Object::kKind ? static_cast<Object *>(header)
                                                              : nullptr;
}

/// Limits a recording, as stream property 1413 does with a recorder in the stream's place.
/// Thread-safe.
/// @param milliseconds  stream time after which the recorder ends by itself; 0 or less: no limit
/// @return false when the object is null or no recorder
bool SetRecordDuration(PlatformObject *object, int milliseconds);

}  // namespace tvdesktop

#endif
