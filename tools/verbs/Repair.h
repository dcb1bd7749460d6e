/// @file
/// Rebuilds the side file of a recording.
#ifndef TOOLS_VERBS_REPAIR_H
#define TOOLS_VERBS_REPAIR_H

#include <string>

#include "verbs/Console.h"

namespace tool {

/// Rebuilds the side file of a recording that was cut off, unless it has a good one.
/// @throws Failure when the packets do not hold what it needs
void RunRepair(const std::string &recording, const Console &console);

}  // namespace tool

#endif
