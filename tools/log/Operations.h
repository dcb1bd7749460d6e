/// @file
/// The operations of the library, as far as its log shows them.
#ifndef TOOLS_LOG_OPERATIONS_H
#define TOOLS_LOG_OPERATIONS_H

#include <string>
#include <string_view>

#include "log/Session.h"

namespace tool::log {

/// How an operation logs its start or its end.
enum class Logged {
    Always,   ///< unless it is refused
    InTrace,  ///< only where traces are logged
    Perhaps,  ///< not on every way through it
};

struct Operation {
    const char *file;
    const char *function;
    StepKind kind;
    Logged start;
    Logged end;
    std::size_t values;        ///< lines of values between a start and an end that succeeds
    const char *platformCall;  ///< whose answer the end has; empty: none, or a line of its own
    const char *callers;       ///< operations of its file that call it, with a blank around each
};

/// @return null for a function that is not in the table
const Operation *FindOperation(std::string_view file, std::string_view function);

/// @return of a request of the service; null for an unknown command
const Operation *OperationOf(Side side, const std::string &command);

/// @return whose line it is; the entry points' lines name theirs
Side SideOf(const Line &line);

}  // namespace tool::log

#endif
