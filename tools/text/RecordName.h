/// @file
/// Records and fields by the names that a user gives them.
///
/// A name is that of the protocol's header, in either case, or any part of one that no other name
/// has too: "shift" is isTimeshift, "sys" is SIGNAL_PVR_SYS_CHANGE. A whole name comes before a
/// part: "Start" is not PreStart.
#ifndef TOOLS_TEXT_RECORDNAME_H
#define TOOLS_TEXT_RECORDNAME_H

#include <string>
#include <vector>

#include "text/RecordLayout.h"

namespace tool {

/// @return the kinds as a user names them: recorder, playback, reply, event
std::vector<std::string> KindNames();

/// @return the names of a kind's records
std::vector<std::string> LayoutNames(RecordKind kind);

/// @return the names of a record's fields
std::vector<std::string> FieldNames(const RecordLayout &layout);

/// @return "command of a recorder": what the records of a kind are
const char *KindText(RecordKind kind);

/// @throws UsageError for an unknown one; it names the nearest and all known ones
RecordKind KindNamed(const std::string &name);

/// @param name  or the number of a command or event
/// @return one, or several when the name fits them equally, as GetProgress fits two replies
/// @throws UsageError for an unknown one
std::vector<const RecordLayout *> LayoutsNamed(RecordKind kind, const std::string &name);

/// @throws UsageError for an unknown one and for a part of several names
const FieldLayout &FieldNamed(const RecordLayout &layout, const std::string &name);

}  // namespace tool

#endif
