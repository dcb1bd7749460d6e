/// @file
/// Requests in words.
#ifndef TOOLS_TEXT_REQUESTSUMMARY_H
#define TOOLS_TEXT_REQUESTSUMMARY_H

#include <string>

#include "service/Request.h"

namespace tool {

/// @return "TrickPlay  time 00:04.0, rate -4x": the operation and the fields of its record, without
///         flags that are not set and streams that do not exist
std::string RequestSummary(const Request &request);

}  // namespace tool

#endif
