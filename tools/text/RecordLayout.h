/// @file
/// Every record of the protocol as a table: what MoxPvrProtocol.h declares, for those who meet a
/// record by its name or its number only.
#ifndef TOOLS_TEXT_RECORDLAYOUT_H
#define TOOLS_TEXT_RECORDLAYOUT_H

#include <MoxPvrProtocol.h>

#include <cstdint>
#include <string>
#include <vector>

#include "service/Request.h"

namespace tool {

/// Bytes of a record from its start.
using Bytes = std::vector<unsigned char>;

enum class RecordKind {
    Recorder,  ///< a request to a recorder
    Playback,  ///< a request to a playback
    Reply,     ///< to a request that has one
    Event,     ///< what comes with an event
};

/// How the bytes of a field are read.
enum class FieldType { Unsigned, Signed, Rate, Path, PidList };

struct FieldLayout : moxpvr::Field {
    std::size_t width;  ///< in bytes; of a list that of its count alone
    FieldType type;

    /// @return where the next field may lie
    std::size_t end() const { return offset + width; }
};

struct RecordLayout {
    RecordKind kind;
    std::uint32_t number;             ///< of the command or the event
    std::string name;                 ///< "SetHandle"; of a reply "recorder.GetProgress"
    std::vector<FieldLayout> fields;  ///< in the order of their offsets
    Bytes initial;                    ///< the record as it is before a field is set
};

/// @return the records of a kind in the protocol's order; lives as long as the program
const std::vector<RecordLayout> &LayoutsOf(RecordKind kind);

/// @return the record of a command or an event, null for an unknown number
const RecordLayout *FindLayout(RecordKind kind, std::uint32_t number);

constexpr RecordKind KindOf(Side side) {
    return side == Side::Recorder ? RecordKind::Recorder : RecordKind::Playback;
}

/// @return whether its records begin with a command number
constexpr bool IsRequest(RecordKind kind) {
    return kind == RecordKind::Recorder || kind == RecordKind::Playback;
}

}  // namespace tool

#endif
