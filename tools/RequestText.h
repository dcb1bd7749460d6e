/// @file
/// Requests in words.
#ifndef TOOLS_REQUESTTEXT_H
#define TOOLS_REQUESTTEXT_H

#include <string>

#include "RequestBuilder.h"

namespace tool {

/// @return "TrickPlay  time 00:04.0, rate -4x": the operation and what its record says
std::string RequestText(const Request &request);

}  // namespace tool

#endif
