/// @file
/// What became of requests and recordings, in words.
#ifndef TOOLS_TEXT_OUTCOMETEXT_H
#define TOOLS_TEXT_OUTCOMETEXT_H

#include <TvDesktop.h>

#include <cstdint>
#include <string>

namespace tool {

/// @return why a request failed, as far as its result holds the reason
const char *ResultText(std::uint32_t result);

/// @return what of the source is not in the recording, or not in clear; empty when there is nothing
std::string LossText(const tvdesktop::RecordingReport &report);

/// @return why the recording is of no use; empty when it is of use
std::string UselessText(const tvdesktop::RecordingReport &report);

}  // namespace tool

#endif
