/// @file
/// Makes a Session of the lines of a log.
#ifndef TOOLS_LOG_SESSIONBUILDER_H
#define TOOLS_LOG_SESSIONBUILDER_H

#include <istream>
#include <string>

#include "log/Session.h"

namespace tool::log {

/// Lines of the library that are kept; the log of a recorder that is asked for its position twenty
/// times a second has as many in two hours.
inline constexpr std::size_t kMostLines = 1'000'000;

/// Reads a log to its end and understands it.
/// @param log   any bytes
/// @param name  of it, for titles
Session ReadSession(std::istream &log, const std::string &name);

}  // namespace tool::log

#endif
