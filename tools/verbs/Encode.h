/// @file
/// Makes the text of a record.
#ifndef TOOLS_VERBS_ENCODE_H
#define TOOLS_VERBS_ENCODE_H

#include <string>
#include <vector>

#include "text/RecordLayout.h"
#include "verbs/Console.h"

namespace tool {

struct EncodeOptions {
    std::string kind;                      ///< recorder, playback, reply or event
    std::string name;                      ///< of the record; empty: list those of the kind
    std::vector<std::string> assignments;  ///< "handle=3", or bytes as they are: "@4=0300"
    bool listsFields = false;              ///< list the record's fields, and how to write them
};

/// @param assignments  in the order in which they are written into the record; what none names has
///                     the value that the protocol's header gives it
/// @return the record's text
/// @throws UsageError
std::string EncodeRecord(const RecordLayout &layout, const std::vector<std::string> &assignments);

/// @throws UsageError for a record that cannot be made
void RunEncode(const EncodeOptions &options, const Console &console);

/// @param words  of a command line after "encode" or "decode", options left out
/// @return what may come next: kinds, names of records, and for `takesFields` fields that are not
///         set yet, each with its equals sign
std::vector<std::string> NextRecordWords(const std::vector<std::string> &words, bool takesFields);

}  // namespace tool

#endif
