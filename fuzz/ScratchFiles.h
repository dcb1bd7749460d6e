/// @file
/// Files of one fuzz target, in memory where the system has a place for that.
#ifndef FUZZ_SCRATCHFILES_H
#define FUZZ_SCRATCHFILES_H

#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "Require.h"

/// A directory of its own, removed with everything in it at the end of the process.
class ScratchFiles {
  public:
    ScratchFiles() {
        std::error_code error;
        const bool inMemory = std::filesystem::is_directory("/dev/shm", error);
        m_directory = (inMemory ? "/dev/shm" : std::filesystem::temp_directory_path().string()) +
                      "/fuzz-XXXXXX";
        Require(mkdtemp(m_directory.data()) != nullptr, "a scratch directory can be made");
    }
    ~ScratchFiles() {
        std::error_code error;
        std::filesystem::remove_all(m_directory, error);
    }
    ScratchFiles(const ScratchFiles &) = delete;
    ScratchFiles &operator=(const ScratchFiles &) = delete;

    const std::string &directory() const { return m_directory; }

    void Write(const std::string &name, const void *bytes, std::size_t count) const {
        const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(
            std::fopen((m_directory + '/' + name).c_str(), "w"), std::fclose);
        Require(file != nullptr && std::fwrite(bytes, 1, count, file.get()) == count,
                "a scratch file can be written");
    }

  private:
    std::string m_directory;
};

#endif
