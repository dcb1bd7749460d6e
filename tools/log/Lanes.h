/// @file
/// What lasted, from the steps of a session.
#ifndef TOOLS_LOG_LANES_H
#define TOOLS_LOG_LANES_H

#include <vector>

#include "log/Session.h"

namespace tool::log {

/// @return the stretches of every lane, in the order of their first lines
std::vector<Stretch> StretchesOf(const Session &session);

}  // namespace tool::log

#endif
