/// @file
/// How the tool ends.
#ifndef TOOLS_FAILURE_H
#define TOOLS_FAILURE_H

#include <stdexcept>

namespace tool {

/// Exit codes of mox-pvr.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,      ///< the request could not be carried out
    kExitUsageError = 2,  ///< the command line cannot be carried out
};

/// Ends a verb with exit code 1. Its text, as that of every message to the user, starts with a
/// lower case letter and has no full stop: what was tried, what was wrong, what to do about it.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Ends a verb with exit code 2; its text is like that of a Failure.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace tool

#endif
