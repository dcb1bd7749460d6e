/// @file
/// What became of the packets of a recording, in words.
#ifndef TOOLS_TEXT_REPORTTEXT_H
#define TOOLS_TEXT_REPORTTEXT_H

#include <TvDesktop.h>

#include <string>

namespace tool {

/// @return what of the source is not in the recording, or not in clear; empty when there is nothing
std::string LossText(const tvdesktop::RecordingReport &report);

/// @return why the recording is of no use; empty when it is of use
std::string UselessText(const tvdesktop::RecordingReport &report);

}  // namespace tool

#endif
