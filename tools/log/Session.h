/// @file
/// A log of the library, understood: what was asked, done, answered and reported, in order.
///
/// A Session is read once and then only looked at: the text, the page, JSON and the trace are
/// written from it and never read a log line themselves.
#ifndef TOOLS_LOG_SESSION_H
#define TOOLS_LOG_SESSION_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "service/Request.h"

namespace tool::log {

/// One line of the library as the log has it.
struct Line {
    std::size_t number = 0;      ///< in the log, from 1; lines of others are counted
    std::optional<double> time;  ///< seconds after the log's first time stamp; of a line without
                                 ///< one that of the line before; empty before the first
    std::string file;            ///< "MoxPvrRecord.cpp"
    std::string function;        ///< the operation that logged it
    int sourceLine = 0;          ///< in that file
    std::string message;         ///< what follows "[PVR][MOX]", without the line end
    bool isCut = false;          ///< the log system has cut it: its end is unknown
};

enum class StepKind {
    Request,       ///< of the service, with its record
    Operation,     ///< a direct call of an interface or an entry point
    PlatformCall,  ///< handed to the platform, with its answer where the log has one
    Callback,      ///< of the platform
    Event,         ///< sent to the service
    Value,         ///< received, or read from a file
    State,         ///< of the instance
    Refusal,       ///< the library did not do what it was asked
    Trace,         ///< for the library's own developers
    Unknown,       ///< a line of the library that no message of this version matches
};

/// A name and what it is worth: "videoPid", "0x101".
using Value = std::pair<std::string, std::string>;

/// One or more lines that say one thing.
struct Step {
    StepKind kind = StepKind::Trace;
    Side side = Side::Recorder;
    std::string title;          ///< "SetDemuxProperty", "tv_player_set_play_speed", "event 31"
    std::vector<Value> values;  ///< fields of a request, arguments, contents of an event
    std::string outcome;        ///< "0", "sent", empty where the log does not say
    bool isFailure = false;
    std::size_t depth = 0;      ///< 0 for what the service asked for; 1 for what that caused
    std::size_t firstLine = 0;  ///< index into Session::lines
    std::size_t lastLine = 0;  ///< index of its last line, which may have other steps' lines before
    std::size_t count = 1;     ///< how often it was repeated at once
    std::string text;          ///< of a request: what was sent, in hexadecimal; may be cut
    bool isCut = false;        ///< its lines do not have the whole of it
};

/// What lasts, from one line to another.
enum class Lane { RecorderState, PlaybackState, Rate, VideoMute, SoundMute, Channel };

/// A time in a lane during which nothing changed in it.
struct Stretch {
    Lane lane = Lane::RecorderState;
    Side side = Side::Recorder;  ///< of a channel: what is recorded, or what is played
    std::string label;           ///< "recording", "-2x", "muted", "service 2"
    std::size_t firstLine = 0;   ///< index into Session::lines of the line that began it
    std::size_t lastLine = 0;    ///< and of the line that ended it, or the last line of all
    bool isOpen = false;         ///< the log ends before it does
};

struct Session {
    std::string name;                   ///< of the log, for titles
    std::vector<Line> lines;            ///< of the library, in the log's order
    std::vector<Step> steps;            ///< in order; those that a step caused follow it
    std::vector<std::size_t> stepOf;    ///< of each line the index of its step
    std::vector<Stretch> stretches;     ///< in order of their lines
    std::vector<std::size_t> failures;  ///< indexes into steps
    std::vector<std::string> missing;   ///< what the log must have lost, in words
    std::size_t foreignLines = 0;       ///< lines of others
    std::size_t unclearLines = 0;       ///< of the library, but cut or of an unknown message
    std::vector<Side> mixed;            ///< sides with lines of several instances, shown as one
    std::string runFailure;             ///< why the run failed that was logged; empty if unknown
    std::string form;                   ///< "it is empty": why there is no line; empty if unknown
    bool hasTime = false;               ///< whether the lines have time stamps
};

/// @return where a line is on the axis of the lanes: its time stamp, or its index without one
double PositionOf(const Session &session, std::size_t line);

}  // namespace tool::log

#endif
