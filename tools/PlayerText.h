/// @file
/// What a viewer sees and hears, in words.
#ifndef TOOLS_PLAYERTEXT_H
#define TOOLS_PLAYERTEXT_H

#include <TvDesktop.h>

#include <cstdint>
#include <string>

namespace tool {

/// @return "picture and sound", "picture held, no sound", "muted", ...
std::string SeenAndHeard(const tvdesktop::PlayerState &state);

/// @return rate, transport state, program, PIDs and what comes of them, on one line
std::string PlayerText(const tvdesktop::PlayerState &state, std::uint16_t program);

}  // namespace tool

#endif
