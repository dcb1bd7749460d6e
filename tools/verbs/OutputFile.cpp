#include "verbs/OutputFile.h"

#include <sys/stat.h>
#include <TvDesktop.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "Failure.h"
#include "service/RecordingFiles.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// Whether the name is taken, be it by a link that leads nowhere.
bool IsTaken(const std::string &path) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

void CheckReplaceable(const std::string &path, const std::string &input, bool force) {
    std::error_code ignored;
    if (fs::equivalent(path, input, ignored))
        throw Failure("cannot write " + path + ": it is the input itself; choose another name");
    if (!IsTaken(path))
        return;
    if (!force)
        throw Failure("cannot write " + path + ": it exists; --force replaces it");
    if (!fs::is_regular_file(path, ignored))
        throw Failure("cannot replace " + path + ": it is not a regular file; choose another name");
    if (tvdesktop::IsBeingWritten(path))
        throw Failure("cannot replace " + path +
                      ": another recorder is writing it; choose another name");
}

std::vector<std::string> FilesOf(const std::string &recording) {
    return {recording, SideFilePath(recording), InformationPath(recording)};
}

/// What takes the program's messages cannot take packets. Devices that keep nothing can.
bool IsStandardOutput(const std::string &path) {
    struct stat named {};
    struct stat output {};
    return ::stat(path.c_str(), &named) == 0 && ::fstat(STDOUT_FILENO, &output) == 0 &&
           named.st_dev == output.st_dev && named.st_ino == output.st_ino &&
           (!S_ISCHR(output.st_mode) || ::isatty(STDOUT_FILENO) == 1);
}

/// @param filesOf  names every file that is written with the one at `path`
template <typename FilesOf>
void CheckFiles(const std::string &path, FilesOf filesOf, const std::string &input, bool force) {
    std::error_code ignored;
    if (IsStandardOutput(path))
        throw UsageError("cannot write " + path +
                         ": it is the program's own standard output, which takes its messages; "
                         "name a file or a pipe of its own");
    if (IsDevice(path))
        return;
    if (fs::is_directory(path, ignored))
        throw UsageError("cannot write " + path + ": it is a directory; name a file in it");
    const std::vector<std::string> files = filesOf(path);
    const fs::path directory = fs::absolute(path, ignored).parent_path();
    if (!fs::is_directory(directory, ignored))
        throw Failure("cannot write " + path + ": the directory " + directory.string() +
                      " does not exist; make it first");
    for (const std::string &file : files)
        CheckReplaceable(file, input, force);
}

}  // namespace

bool IsSamePlace(const std::string &left, const std::string &right) {
    std::error_code ignored;
    return fs::equivalent(left, right, ignored) ||
           fs::weakly_canonical(fs::absolute(left, ignored), ignored) ==
               fs::weakly_canonical(fs::absolute(right, ignored), ignored);
}

void CheckLog(const std::string &log, const std::vector<std::string> &used) {
    if (!log.empty())
        CheckApart(log, used, "the log to " + log);
}

void CheckApart(const std::string &path, const std::vector<std::string> &used,
                const std::string &what) {
    if (IsDevice(path))
        return;
    for (const std::string &other : used) {
        const std::string information = fs::path(other).replace_extension("inf").string();
        for (const std::string &file : {other, SideFilePath(other), information})
            if (!other.empty() && IsSamePlace(path, file))
                throw UsageError("cannot write " + (what.empty() ? path : what) + ": it is " +
                                 (file == other ? "a file" : "beside a file") +
                                 " that the verb reads or writes; choose another name");
    }
}

bool IsDevice(const std::string &path) {
    std::error_code ignored;
    return fs::is_other(path, ignored);
}

void CheckOutput(const std::string &path, const std::string &input, bool force) {
    CheckFiles(path, &FilesOf, input, force);
}

void CheckTextFile(const std::string &path, const std::string &input, bool force) {
    const auto itself = [](const std::string &file) { return std::vector<std::string>{file}; };
    CheckFiles(path, itself, input, force);
}

void WriteTextFile(const std::string &path, const std::string &text, bool force) {
    const auto fail = [&](int reason) {
        throw Failure("cannot write " + path + ": " + std::strerror(reason));
    };
    if (!IsDevice(path)) {
        if (!force && IsTaken(path))  // time has gone by since it was checked
            throw Failure("cannot write " + path + ": it exists; --force replaces it");
        if (!tvdesktop::ReplaceFile(path, text.data(), text.size()))
            fail(errno);
        return;
    }
    std::FILE *device = std::fopen(path.c_str(), "w");
    if (device == nullptr)
        fail(errno);
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), device) == text.size();
    const int reason = errno;
    if (std::fclose(device) != 0 || !isWritten)
        fail(isWritten ? errno : reason);
}

void RemoveRecording(const std::string &recording) {
    std::error_code ignored;
    for (const std::string &file : FilesOf(recording))
        fs::remove(file, ignored);
}

SetAside::~SetAside() {
    for (const Moved &file : m_files) {
        if (!IsTaken(file.from))
            std::rename(file.to.c_str(), file.from.c_str());
    }
}

void SetAside::Take(const std::string &recording) {
    if (IsDevice(recording))
        return;
    for (const std::string &file : FilesOf(recording)) {
        if (IsTaken(file))
            Move(file);
    }
}

void SetAside::Move(const std::string &path) {
    Moved moved{path, path + "-XXXXXX"};
    const int reserved = mkstemp(moved.to.data());
    if (reserved < 0 || std::rename(path.c_str(), moved.to.c_str()) != 0) {
        const int reason = errno;
        if (reserved >= 0) {
            ::close(reserved);
            ::unlink(moved.to.c_str());
        }
        throw Failure("cannot replace " + path + ": " + std::strerror(reason));
    }
    ::close(reserved);
    m_files.push_back(moved);
}

void SetAside::Remove() {
    for (const Moved &file : m_files)
        ::unlink(file.to.c_str());
    m_files.clear();
}

}  // namespace tool
