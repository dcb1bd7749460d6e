#include <MOXHandle.h>
#include <TIUserDataManager.h>

#include <map>
#include <mutex>

namespace {

/// The stream that a manager follows; null while it follows none. The stream is not owned and never
/// looked into, so it may die before Stop.
struct FollowingManager : TIUserDataManager {
    void *stream = nullptr;
};

/// Managers stay until the process ends; a map never moves its nodes.
struct Managers {
    std::mutex mutex;
    std::map<MOXHandle, FollowingManager> byHandle;
};

Managers &AllManagers() {
    static auto *managers = new Managers;  // outlives every static that may still use it
    return *managers;
}

void *&StreamOf(TIUserDataManager *manager) {
    return static_cast<FollowingManager *>(manager)->stream;
}

}  // namespace

TIUserDataManager *TIUserDataManager::Instance(const MOXHandle &handle) try {
    Managers &managers = AllManagers();
    const std::lock_guard<std::mutex> lock(managers.mutex);
    return &managers.byHandle[handle];
} catch (...) {
    return nullptr;
}

/// @return 1 when the manager follows the stream from now on, 0 without a stream or when it already
///         follows one
int TIUserDataManager::Start(void *stream, int /*option*/) {
    const std::lock_guard<std::mutex> lock(AllManagers().mutex);
    void *&followed = StreamOf(this);
    if (stream == nullptr || followed != nullptr)
        return 0;
    followed = stream;
    return 1;
}

/// @return 1 when it followed a stream, else 0
int TIUserDataManager::Stop() {
    const std::lock_guard<std::mutex> lock(AllManagers().mutex);
    void *&followed = StreamOf(this);
    const bool wasFollowing = followed != nullptr;
    followed = nullptr;
    return wasFollowing ? 1 : 0;
}
