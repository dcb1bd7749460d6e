/// @file
/// Repetitions, told once.
#ifndef TOOLS_LOG_FOLDING_H
#define TOOLS_LOG_FOLDING_H

#include <vector>

#include "log/Story.h"

namespace tool::log {

/// Makes one of steps, and one of episodes, that are repeated at once and differ only in what is
/// measured: positions and durations, of which the first and the last are kept.
void Fold(std::vector<Episode> &episodes);

}  // namespace tool::log

#endif
