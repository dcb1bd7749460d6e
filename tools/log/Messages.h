/// @file
/// Every message of the library and what it means.
#ifndef TOOLS_LOG_MESSAGES_H
#define TOOLS_LOG_MESSAGES_H

#include <string>
#include <string_view>
#include <vector>

#include "log/Session.h"

namespace tool::log {

/// What a message does to the story of a log.
enum class Role {
    Begin,         ///< an operation has started
    End,           ///< it has ended; a "result" is what the platform or the library answered
    Values,        ///< something that the operation was given or knows
    LastValues,    ///< the same, and the operation logs nothing more
    RequestText,   ///< what the service sent, in hexadecimal
    Command,       ///< the number of a request
    NewStep,       ///< something the operation did, a step of its own
    LastStep,      ///< the same, and the operation logs nothing more
    EventOutcome,  ///< whether the event before it was taken
    ListBegin,     ///< the PIDs of the recorder follow
    ListEntry,
    ListEnd,
    Lookup,  ///< an instance was looked up for the request that follows
};

/// One message. Its markers and the name of an operation in front are not part of it.
struct Message {
    const char *pattern;  ///< a name in braces is the value printed there: "result [{result}]"
    Role role;
    StepKind kind;           ///< of the step, for Role::NewStep and LastStep
    const char *title;       ///< of that step; of others empty
    bool isFailure = false;  ///< what it says is a failure in itself
};

struct MessageRange {
    const Message *first;
    const Message *last;

    const Message *begin() const { return first; }
    const Message *end() const { return last; }
};

/// @return all messages; they live as long as the program
MessageRange Messages();

/// A message that was found in a line.
struct Match {
    const Message *message = nullptr;  ///< null: none, or several where the line was cut
    std::vector<Value> values;         ///< complete ones
    bool isCut = false;                ///< the line ends before the message does
    bool endsOpen = false;             ///< a value is the last thing: it may have been cut unseen
};

/// @param text  of a line, as the log has it
/// @return      the message whose whole pattern the text has; without one, the only message that
///              the text can be the beginning of
Match FindMessage(std::string_view text);

}  // namespace tool::log

#endif
