/// @file
/// The map of a registry: which instance lives under which handle.
#ifndef MOXPVR_INSTANCEMAP_H
#define MOXPVR_INSTANCEMAP_H

#include <map>
#include <new>

#include "MOXHandle.h"

namespace mox {

/// Owns what it maps until Destroy. Its own destructor leaves the instances alive: the platform
/// may still call back into them. Thread-bound.
template <typename Instance>
class InstanceMap {
  public:
    /// Puts an instance under a handle; one that was there before stays alive, unreachable.
    /// @return false when memory ran out; nothing changed then
    bool Store(const MOXHandle &handle, Instance *instance) {
        try {
            m_instances[handle] = instance;
        } catch (const std::bad_alloc &) {
            return false;
        }
        return true;
    }

    /// @return the instance, or null
    Instance *Find(const MOXHandle &handle) const {
        const auto entry = m_instances.find(handle);
        return entry == m_instances.end() ? nullptr : entry->second;
    }

    /// Destroys and forgets the instance under a handle, if there is one.
    void Destroy(const MOXHandle &handle) {
        delete Find(handle);
        m_instances.erase(handle);
    }

  private:
    std::map<MOXHandle, Instance *> m_instances;
};

}  // namespace mox

#endif
