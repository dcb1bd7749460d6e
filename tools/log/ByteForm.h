/// @file
/// Logs that are not lines of text.
#ifndef TOOLS_LOG_BYTEFORM_H
#define TOOLS_LOG_BYTEFORM_H

#include <string>
#include <string_view>

namespace tool::log {

/// @param first  the first bytes of a log, 64 or all
/// @return       why no line can be found in it and what to do: "it is compressed (gzip); unpack it
///               first"; empty where nothing is known against it
std::string FormOf(std::string_view first);

}  // namespace tool::log

#endif
