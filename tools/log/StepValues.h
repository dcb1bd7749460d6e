/// @file
/// What the steps of a log are worth: values by name, results, events in words.
#ifndef TOOLS_LOG_STEPVALUES_H
#define TOOLS_LOG_STEPVALUES_H

#include <string>
#include <string_view>
#include <vector>

#include "log/Session.h"

namespace tool::log {

/// @return the value of a name, null without one; lives as long as the values
const std::string *ValueOf(const std::vector<Value> &values, std::string_view name);

/// @return the same as a number, decimal or with 0x; 0 without one
long long NumberOf(const std::vector<Value> &values, std::string_view name);

/// Adds values that the step does not have yet: a request's own fields come first.
void AddValues(Step &step, const std::vector<Value> &values);

/// Keeps a result; every one but 0 is a failure.
void SetOutcome(Step &step, const std::string &result);

/// Puts an event's contents in words; one that reports a failure is a failure.
void ExplainEvent(Step &step);

/// @return the name of a command; empty for an unknown number
std::string CommandName(Side side, long long number);

}  // namespace tool::log

#endif
