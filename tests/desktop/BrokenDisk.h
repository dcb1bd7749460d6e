/// @file
/// A disk that counts what is read, and that cannot be read from some place on.
#ifndef TESTS_DESKTOP_BROKENDISK_H
#define TESTS_DESKTOP_BROKENDISK_H

#include <cstdint>

/// While it lives, every pread at or after an offset fails with EIO, the stand-in's too.
class BrokenDisk {
  public:
    explicit BrokenDisk(std::int64_t offset);
    ~BrokenDisk();
    BrokenDisk(const BrokenDisk &) = delete;
    BrokenDisk &operator=(const BrokenDisk &) = delete;
};

/// What all preads of the program took together, the stand-in's too.
struct DiskUse {
    std::uint64_t reads = 0;
    std::uint64_t bytes = 0;
};
DiskUse UsedDisk();

#endif
