/// @file
/// How the tool ends.
#ifndef TOOLS_FAILURE_H
#define TOOLS_FAILURE_H

#include <stdexcept>

namespace tool {

/// Exit codes of mox-pvr.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,    ///< what was asked for could not be done
    kExitWrongUse = 2,  ///< the command line cannot be carried out as it stands
};

/// Ends a verb with exit code 1; its text is one sentence for the user.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Ends a verb with exit code 2; its text is one sentence for the user.
class WrongUse : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace tool

#endif
