/// @file
/// How the stand-in reaches its objects when they come back as opaque pointers.
#ifndef TVDESKTOP_SYSTEM_PLATFORMOBJECT_H
#define TVDESKTOP_SYSTEM_PLATFORMOBJECT_H

#include <cstdint>
#include <functional>

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

/// @return the kind of the object that a caller passed in; Gone for null
inline PlatformObject::Kind KindOf(void *handle) {
    return handle != nullptr ? static_cast<PlatformObject *>(handle)->kind
                             : PlatformObject::Kind::Gone;
}

/// @tparam Object  class derived from PlatformObject, with its kind in `Object::kKind`
/// @return the object of a handle that a caller passed in; null for null and for an object of
///         another kind
template <typename Object>
Object *ObjectAs(void *handle) {
    return KindOf(handle) == Object::kKind
               ? static_cast<Object *>(static_cast<PlatformObject *>(handle))
               : nullptr;
}

/// Runs an operation on the object of a handle, for a C function, from which no exception may
/// escape.
/// @tparam Object  names the result for another object (kNoObject) and for one that is out of
///                 memory or threads (kOutOfResources)
template <typename Object, typename Operation, typename... Values>
int CallOn(void *handle, Operation operation, Values... values) noexcept try {
    auto *object = ObjectAs<Object>(handle);
    if (object == nullptr)
        return Object::kNoObject;
    return std::invoke(operation, *object, values...);
} catch (...) {
    return Object::kOutOfResources;
}

}  // namespace tvdesktop

#endif
