/// @file
/// The results of requests in words.
#ifndef TOOLS_TEXT_RESULTTEXT_H
#define TOOLS_TEXT_RESULTTEXT_H

#include <cstdint>

#include "service/Request.h"

namespace tool {

/// @return why a request failed, as far as its result holds the reason
const char *ResultText(Side side, std::uint32_t result);

}  // namespace tool

#endif
