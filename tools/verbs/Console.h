/// @file
/// What mox-pvr does: one function a verb. Each returns when it is done and throws Failure or
/// WrongUse when it cannot.
#ifndef TOOLS_VERBS_CONSOLE_H
#define TOOLS_VERBS_CONSOLE_H

#include <cstdint>
#include <optional>
#include <string>

#include "text/Terminal.h"

namespace tool {

class PvrService;

/// What every verb is given.
struct Console {
    Terminal &terminal;
    bool showRequests = false;  ///< every request and reply in hexadecimal
};

/// Makes the service print its requests when the user asked for them.
void ShowRequests(PvrService &service, const Console &console);

void RunServices(const std::string &input, const Console &console);

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
void RunRecord(const RecordOptions &options, const Console &console);

struct PlayOptions {
    std::string file;
    std::int64_t fromMs = 0;
    double speed = 1.0;
    bool isTimeshift = false;
    std::optional<std::uint32_t> videoPid;  ///< programmed in place of the recording's own
    double clockFactor = 1.0;               ///< how much faster than real time the player runs
};
void RunPlay(const PlayOptions &options, const Console &console);

/// Rebuilds the side file of a recording that was cut off, unless it has a good one.
void RunRepair(const std::string &recording, const Console &console);

struct DemoOptions {
    std::string input;
    std::string directory;  ///< for the recordings; a temporary one when empty
};
void RunDemo(const DemoOptions &options, const Console &console);

}  // namespace tool

#endif
