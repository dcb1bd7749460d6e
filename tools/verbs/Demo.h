/// @file
/// Tells the demo and compares what happened with what was expected.
#ifndef TOOLS_VERBS_DEMO_H
#define TOOLS_VERBS_DEMO_H

#include <string>

#include "verbs/Console.h"

namespace tool {

struct DemoOptions {
    std::string input;
    std::string directory;  ///< for the recordings; a temporary one when empty
};

/// @throws Failure when an expectation was not met
void RunDemo(const DemoOptions &options, const Console &console);

}  // namespace tool

#endif
