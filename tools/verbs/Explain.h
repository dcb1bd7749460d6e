/// @file
/// The verb "explain".
#ifndef TOOLS_VERBS_EXPLAIN_H
#define TOOLS_VERBS_EXPLAIN_H

#include <string>

#include "log/Session.h"
#include "verbs/Console.h"

namespace tool {

struct ExplainOptions {
    std::string log = "-";  ///< "-": standard input
    std::string html;       ///< file for a page; empty: none
    std::string json;       ///< file for JSON, "-" for standard output; empty: none
    std::string trace;      ///< file for a trace viewer; empty: none
    bool force = false;     ///< replace existing files
};

/// @return what a log says; "-" is standard input
/// @throws Failure when it cannot be read or has no line of the library
log::Session SessionOfLog(const std::string &path);

/// Tells what a log says, as text on standard output unless a file is asked for.
/// @throws Failure when the log cannot be read or has no line of the library, and, after what was
///         asked for is written, when it has none that is whole and understood
void RunExplain(const ExplainOptions &options, const Console &console);

}  // namespace tool

#endif
