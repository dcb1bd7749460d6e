/// @file
/// What a viewer sees and hears, in words.
#ifndef TOOLS_TEXT_PLAYERTEXT_H
#define TOOLS_TEXT_PLAYERTEXT_H

#include <TvDesktop.h>

#include <string>

namespace tool {

/// @return "playing", "paused", ...
const char *RunText(tvdesktop::PlayerState::Run run);

/// @return "picture and sound", "picture held, no sound", "muted", ...
std::string SeenAndHeard(const tvdesktop::PlayerState &state);

/// @return transport state, rate, what comes of it, service and PIDs, on one line
std::string PlayerText(const tvdesktop::PlayerState &state);

/// @return how the times of a recording were found, empty when its index has them
std::string TimeSourceText(tvdesktop::TimeSource source, const std::string &recording);

}  // namespace tool

#endif
