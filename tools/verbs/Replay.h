/// @file
/// The verb "replay".
#ifndef TOOLS_VERBS_REPLAY_H
#define TOOLS_VERBS_REPLAY_H

#include <string>

#include "verbs/Console.h"

namespace tool {

struct ReplayOptions {
    std::string log;
    std::string input;       ///< transport stream that is recorded
    std::string directory;   ///< where recordings go; empty: kept nowhere
    bool keepsPace = false;  ///< with the log's time between requests, not as fast as possible
};

/// Sends the recorder's requests of a log to the desk and shows each result beside the log's. What
/// the log's paths name is written to the directory under its last name.
/// @throws Failure when the log has no request that can be sent, or no time stamps to keep pace
/// with
void RunReplay(const ReplayOptions &options, const Console &console);

}  // namespace tool

#endif
