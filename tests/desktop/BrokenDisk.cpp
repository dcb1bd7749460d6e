#include "BrokenDisk.h"

#include <dlfcn.h>
#include <sys/types.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <limits>

namespace {

constexpr std::int64_t kNowhere = std::numeric_limits<std::int64_t>::max();
std::atomic<std::int64_t> g_brokenFrom{kNowhere};
std::atomic<std::uint64_t> g_reads{0};
std::atomic<std::uint64_t> g_bytes{0};

}  // namespace

BrokenDisk::BrokenDisk(std::int64_t offset) {
    g_brokenFrom = offset;
}

BrokenDisk::~BrokenDisk() {
    g_brokenFrom = kNowhere;
}

DiskUse UsedDisk() {
    return {g_reads, g_bytes};
}

// Comes before the C library's; this file does without the header that declares it, which may turn
// the name into another one.
extern "C" ssize_t pread64(int file, void *to, std::size_t room, std::int64_t offset) {
    static const auto real = reinterpret_cast<decltype(&pread64)>(dlsym(RTLD_NEXT, "pread64"));
    const std::int64_t whole = g_brokenFrom - offset;
    ++g_reads;
    if (whole > 0) {
        const auto most =
            static_cast<std::size_t>(std::min(static_cast<std::int64_t>(room), whole));
        const ssize_t count = real(file, to, most, offset);
        g_bytes += count > 0 ? static_cast<std::uint64_t>(count) : 0;
        return count;
    }
    errno = EIO;
    return -1;
}
