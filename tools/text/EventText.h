/// @file
/// The events of the library in words.
#ifndef TOOLS_TEXT_EVENTTEXT_H
#define TOOLS_TEXT_EVENTTEXT_H

#include <MoxPvrProtocol.h>
#include <TvDesktop.h>

#include <string>

namespace tool {

/// @return number, name and contents of an event for a reader
std::string EventText(const tvdesktop::Event &event);

/// @return what a detail code of the desktop stand-in means; "unknown" for any other
const char *DetailText(moxpvr::EventDetail detail);

/// @return the message for an event that ends a recording or a playback badly, empty for others
std::string EventFailureText(const tvdesktop::Event &event);

}  // namespace tool

#endif
