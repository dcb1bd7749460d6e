/// @file
/// What every verb is given.
#ifndef TOOLS_VERBS_CONSOLE_H
#define TOOLS_VERBS_CONSOLE_H

#include "text/Terminal.h"

namespace tool {

class PvrService;

struct Console {
    Terminal &terminal;
    bool showRequests = false;  ///< every request and reply in hexadecimal
};

/// Makes the service print its requests when the user asked for them.
void ShowRequests(PvrService &pvr, const Console &console);

}  // namespace tool

#endif
