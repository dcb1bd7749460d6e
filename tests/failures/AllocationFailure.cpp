#include "AllocationFailure.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "FakePlatform.h"

namespace {

thread_local int t_first = 0;  // 0: none is to fail
thread_local Failing t_mode = Failing::Once;
thread_local int t_seen = 0;
thread_local int t_injected = 0;
thread_local void *t_live[64] = {};

bool IsWatched() {
    return t_first > 0 && g_platformDepth == 0;
}

void *Allocate(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
    const bool watched = IsWatched();
    if (watched && (++t_seen == t_first || (t_mode == Failing::FromThenOn && t_seen > t_first))) {
        ++t_injected;
        return nullptr;
    }
    void *memory = std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
    if (watched)
        *std::find(std::begin(t_live), std::end(t_live) - 1, nullptr) = memory;
    return memory;
}

void *Checked(void *memory) {
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void Release(void *memory) {
    if (memory != nullptr)
        std::replace(std::begin(t_live), std::end(t_live), memory, static_cast<void *>(nullptr));
    std::free(memory);
}

}  // namespace

AllocationFailure::AllocationFailure(int first, Failing mode) {
    t_seen = t_injected = 0;
    t_mode = mode;
    t_first = first;
}
AllocationFailure::~AllocationFailure() {
    t_first = 0;
}
int AllocationFailure::Injected() {
    return t_injected;
}
long AllocationFailure::LiveBlocks() {
    return std::end(t_live) - std::begin(t_live) -
           std::count(std::begin(t_live), std::end(t_live), nullptr);
}

// All forms: a sanitizer brings those that are missing, on an allocator of its own.
#define FORMS(parameter, alignment)                                                  \
    void *operator new(std::size_t n parameter) {                                    \
        return Checked(Allocate(n alignment));                                       \
    }                                                                                \
    void *operator new[](std::size_t n parameter) {                                  \
        return Checked(Allocate(n alignment));                                       \
    }                                                                                \
    void *operator new(std::size_t n parameter, const std::nothrow_t &) noexcept {   \
        return Allocate(n alignment);                                                \
    }                                                                                \
    void *operator new[](std::size_t n parameter, const std::nothrow_t &) noexcept { \
        return Allocate(n alignment);                                                \
    }                                                                                \
    void operator delete(void *p parameter) noexcept {                               \
        Release(p);                                                                  \
    }                                                                                \
    void operator delete[](void *p parameter) noexcept {                             \
        Release(p);                                                                  \
    }                                                                                \
    void operator delete(void *p, std::size_t parameter) noexcept {                  \
        Release(p);                                                                  \
    }                                                                                \
    void operator delete[](void *p, std::size_t parameter) noexcept {                \
        Release(p);                                                                  \
    }                                                                                \
    void operator delete(void *p parameter, const std::nothrow_t &) noexcept {       \
        Release(p);                                                                  \
    }                                                                                \
    void operator delete[](void *p parameter, const std::nothrow_t &) noexcept {     \
        Release(p);                                                                  \
    }
#define ALIGNED_PARAMETER , [[maybe_unused]] std::align_val_t alignment
#define ALIGNMENT , static_cast<std::size_t>(alignment)
FORMS(, )
FORMS(ALIGNED_PARAMETER, ALIGNMENT)
