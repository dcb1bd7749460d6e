/// @file
/// Where a recorder's bytes come from.
#ifndef TVDESKTOP_RECORDER_BLOCKSOURCE_H
#define TVDESKTOP_RECORDER_BLOCKSOURCE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "system/FileDescriptor.h"

namespace tvdesktop {

/// A file, a pipe or standard input, read without ever blocking. Threads: thread-bound.
class BlockSource {
  public:
    enum class Status {
        Data,    ///< bytes were read
        Wait,    ///< nothing to read now: wait until the descriptor can be read
        End,     ///< nothing will follow
        Failed,  ///< errno holds the reason
    };

    /// @param path  "-" is standard input
    /// @return false on failure; errno holds the reason
    bool Open(const std::string &path);

    /// @param count  out: bytes read, with Status::Data
    Status Read(std::uint8_t *to, std::size_t room, std::size_t &count);

    int Descriptor() const { return m_file.Get(); }

  private:
    bool HasSomething() const;

    FileDescriptor m_file;
    bool m_isRegular = false;  ///< regular files never make a reader wait
};

}  // namespace tvdesktop

#endif
