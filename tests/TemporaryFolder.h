/// @file
/// Where tests put their files.
#ifndef TESTS_TEMPORARYFOLDER_H
#define TESTS_TEMPORARYFOLDER_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

/// @return a folder that only this process uses, with a slash at its end; it is made at the first
///         call and removed, with everything in it, when the process exits
inline const std::string &TemporaryFolder() {
    class Folder {
      public:
        Folder() {
            std::string pattern = std::filesystem::absolute(testing::TempDir()) / "moxpvr-XXXXXX";
            if (mkdtemp(pattern.data()) == nullptr)
                throw std::system_error(errno, std::generic_category(), pattern);
            path = pattern + '/';
        }
        ~Folder() {
            std::error_code error;
            if (m_owner == getpid())  // not a child that was forked meanwhile
                std::filesystem::remove_all(path, error);
        }
        Folder(const Folder &) = delete;
        Folder &operator=(const Folder &) = delete;

        std::string path;

      private:
        pid_t m_owner = getpid();
    };
    static const Folder folder;
    return folder.path;
}

#endif
