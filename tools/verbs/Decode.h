/// @file
/// Shows what is in a record.
#ifndef TOOLS_VERBS_DECODE_H
#define TOOLS_VERBS_DECODE_H

#include <string>
#include <vector>

#include "text/RecordLayout.h"
#include "verbs/Console.h"

namespace tool {

struct DecodeOptions {
    std::string kind;  ///< recorder, playback, reply or event
    /// The text in hexadecimal, or "-" for one per line of standard input; before it may be the
    /// name of a reply or event.
    std::vector<std::string> words;
};

/// A record in words.
struct Decoded {
    std::string text;     ///< lines with their ends
    std::string problem;  ///< why the library would refuse it; empty when it would not
};

/// @param name  of the reply or event; empty: everything that it may be
/// @throws UsageError for an unknown name
Decoded DecodeRecord(RecordKind kind, const std::string &name, const std::string &text);

/// @throws UsageError for an unknown kind or name, Failure when a text cannot be decoded
void RunDecode(const DecodeOptions &options, const Console &console);

}  // namespace tool

#endif
