/// @file
/// A session in words.
#ifndef TOOLS_LOG_SESSIONTEXT_H
#define TOOLS_LOG_SESSIONTEXT_H

#include <functional>
#include <string>
#include <vector>

#include "log/Session.h"
#include "text/Terminal.h"

namespace tool::log {

/// Takes a line of text and how to show it.
using TextSink = std::function<void(const std::string &text, Style style)>;

/// Writes the session as an indented story: what it is, failures first, then every step, at the end
/// what is missing. Texts of the log are made Printable.
void WriteText(const Session &session, const TextSink &write);

/// @return what a session has one of: "Request", "PlatformCall"; as in JSON
const char *KindName(StepKind kind);
/// @return "RecorderState", "SoundMute"
const char *LaneName(Lane lane);
/// @return "recorder" or "playback"
const char *SideName(Side side);

/// @return a sentence for each side with lines of several instances
std::vector<std::string> MixedTexts(const Session &session);

/// @return "name value, name value"
std::string ValuesText(const Step &step);

}  // namespace tool::log

#endif
