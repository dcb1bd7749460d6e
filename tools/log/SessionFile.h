/// @file
/// A session for other programs.
#ifndef TOOLS_LOG_SESSIONFILE_H
#define TOOLS_LOG_SESSIONFILE_H

#include <string>

#include "log/Session.h"

namespace tool::log {

/// @return the whole session as JSON, described in docs/log.md
std::string JsonOf(const Session &session);

/// @return the session in the Trace Event Format of trace viewers: lanes as threads, requests,
///         events and failures as instants; without time stamps a line is a millisecond
std::string TraceOf(const Session &session);

}  // namespace tool::log

#endif
