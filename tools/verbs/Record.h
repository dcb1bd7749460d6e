/// @file
/// Records one service of a transport stream.
#ifndef TOOLS_VERBS_RECORD_H
#define TOOLS_VERBS_RECORD_H

#include <cstdint>
#include <optional>
#include <string>

#include "verbs/Console.h"

namespace tool {

struct RecordOptions {
    std::string input;
    std::uint16_t serviceId = 0;
    std::string out;
    std::optional<std::int64_t> durationMs;   ///< of stream time; to the end of the source without
    double speed = 1.0;                       ///< times stream time; 0: as fast as the disk allows
    bool isTimeshift = false;                 ///< `out` is a timeshift buffer
    std::optional<std::int64_t> swapAfterMs;  ///< stream time at which it becomes `swapTo`
    std::string swapTo;
    bool force = false;  ///< existing files may be replaced
};

/// @throws UsageError for options that contradict each other, Failure when it cannot record
void RunRecord(const RecordOptions &options, const Console &console);

}  // namespace tool

#endif
