#include "AllocationFailure.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "FakePlatform.h"

thread_local AllocationFailure t_allocationFailure;

namespace {

void *Allocate(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
    AllocationFailure &failure = t_allocationFailure;
    const bool isWatched = failure.first > 0 && g_platformDepth == 0;
    if (isWatched && ++failure.seen >= failure.first && failure.seen <= failure.last) {
        ++failure.injected;
        return nullptr;
    }
    void *memory = std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
    if (isWatched)
        *std::find(std::begin(failure.live), std::end(failure.live) - 1, nullptr) = memory;
    return memory;
}

void *Checked(void *memory) {
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void Release(void *memory) {
    if (memory == nullptr)
        return;
    for (void *&block : t_allocationFailure.live)
        block = block == memory ? nullptr : block;
    std::free(memory);
}

}  // namespace

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
