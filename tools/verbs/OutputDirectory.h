/// @file
/// Where a verb that makes several files puts them.
#ifndef TOOLS_VERBS_OUTPUTDIRECTORY_H
#define TOOLS_VERBS_OUTPUTDIRECTORY_H

#include <string>

namespace tool {

/// A directory of the user's, which is made where it does not exist and must be empty, or one of
/// its own that goes with this object.
class OutputDirectory {
  public:
    /// @param wanted  empty: one of its own
    /// @param what    what will be put there, for messages: "the demo"
    /// @throws Failure
    OutputDirectory(const std::string &wanted, const std::string &what);
    ~OutputDirectory();
    OutputDirectory(const OutputDirectory &) = delete;
    OutputDirectory &operator=(const OutputDirectory &) = delete;

    const std::string &Path() const { return m_path; }

  private:
    bool m_isTemporary;
    std::string m_path;
};

}  // namespace tool

#endif
