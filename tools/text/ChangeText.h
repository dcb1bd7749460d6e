/// @file
/// Changes of a service's streams in words.
#ifndef TOOLS_TEXT_CHANGETEXT_H
#define TOOLS_TEXT_CHANGETEXT_H

#include <TvDesktop.h>

#include <string>

namespace tool {

/// @return what of the streams of a service changed ("audio 0x102 -> 0x112, 0x105 added"); empty
///         when neither a PID nor a codec did
std::string ChangeText(const tvdesktop::Service &before, const tvdesktop::Service &after);

}  // namespace tool

#endif
