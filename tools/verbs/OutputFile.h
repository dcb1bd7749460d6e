/// @file
/// Where a recording may be written.
#ifndef TOOLS_VERBS_OUTPUTFILE_H
#define TOOLS_VERBS_OUTPUTFILE_H

#include <string>
#include <vector>

namespace tool {

/// @return whether two names, however they are written, are the same file now or would be
bool IsSamePlace(const std::string &left, const std::string &right);

/// Makes sure that the log goes to none of the files that a verb uses, nor to one beside them.
/// @param log  may be empty
/// @throws UsageError
void CheckLog(const std::string &log, const std::vector<std::string> &used);

/// @return whether the path names a device, a pipe or the like; it then gets no information file
bool IsDevice(const std::string &path);

/// Makes sure that nothing is lost by recording `input` to `path`: looks at every file that the
/// recording consists of, with its side file and its information file.
/// @throws UsageError for a name that cannot be a recording's and for standard output; Failure for
///         a file that exists (unless `force`, and then for what is not a regular file or is being
///         written by a recorder), for the input itself and for a missing directory
void CheckOutput(const std::string &path, const std::string &input, bool force);

/// The same for a file that has none beside it: a page, a trace.
void CheckTextFile(const std::string &path, const std::string &input, bool force);

/// Makes sure that a file is none of others, and beside none that is a recording.
/// @param used  empty names are left out
/// @param what  how a message names the file, where its path is not enough
/// @throws UsageError
void CheckApart(const std::string &path, const std::vector<std::string> &used,
                const std::string &what = "");

/// Writes a file, whole or not at all; a device or a pipe gets the text as it comes.
/// @throws Failure when it cannot be written, or exists by now without `force`
void WriteTextFile(const std::string &path, const std::string &text, bool force);

/// Removes a recording with the two files beside it.
void RemoveRecording(const std::string &recording);

/// Takes an earlier recording with the two files beside it out of the way of a new one. They come
/// back when this ends, unless they were removed or their names are taken.
///
/// Threads: thread-bound.
class SetAside {
  public:
    SetAside() = default;
    ~SetAside();
    SetAside(const SetAside &) = delete;
    SetAside &operator=(const SetAside &) = delete;

    /// Does nothing for a device.
    /// @throws Failure when a file cannot be moved
    void Take(const std::string &recording);
    bool HasFiles() const { return !m_files.empty(); }
    /// @return where the first of the files is now, while there are some
    const std::string &Place() const { return m_files.front().to; }
    /// The new recording exists: the earlier one is removed.
    void Remove();

  private:
    struct Moved {
        std::string from;
        std::string to;
    };

    void Move(const std::string &path);

    std::vector<Moved> m_files;
};

}  // namespace tool

#endif
