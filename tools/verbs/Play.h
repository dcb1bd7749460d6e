/// @file
/// Plays a recording or a timeshift buffer.
#ifndef TOOLS_VERBS_PLAY_H
#define TOOLS_VERBS_PLAY_H

#include <cstdint>
#include <optional>
#include <string>

#include "verbs/Console.h"

namespace tool {

struct PlayOptions {
    std::string file;
    std::int64_t fromMs = 0;
    double speed = 1.0;
    bool isTimeshift = false;
    std::optional<std::uint32_t> videoPid;  ///< programmed in place of the recording's own
    double clockFactor = 1.0;               ///< how much faster than real time the player runs
};

/// @throws Failure when the file cannot be played, or nothing of it was seen or heard
void RunPlay(const PlayOptions &options, const Console &console);

}  // namespace tool

#endif
