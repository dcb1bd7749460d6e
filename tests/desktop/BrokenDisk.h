/// @file
/// A disk that cannot be read from some place on.
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

#endif
