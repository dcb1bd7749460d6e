/// @file
/// Lists the services of a transport stream.
#ifndef TOOLS_VERBS_SERVICES_H
#define TOOLS_VERBS_SERVICES_H

#include <string>

#include "verbs/Console.h"

namespace tool {

/// @throws Failure when the input cannot be read or holds no service
void RunServices(const std::string &input, const Console &console);

}  // namespace tool

#endif
