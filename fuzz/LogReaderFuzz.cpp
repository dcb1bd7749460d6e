// Any bytes as a log: found lines, steps, text, JSON, trace and page.
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "log/Page.h"
#include "log/SessionBuilder.h"
#include "log/SessionFile.h"
#include "log/SessionText.h"
#include "Require.h"

namespace {

using tool::log::Session;
using tool::log::Step;

void CheckSteps(const Session &session) {
    Require(session.stepOf.size() == session.lines.size(), "every line belongs to a step");
    for (const std::size_t step : session.stepOf)
        Require(step < session.steps.size(), "and to one that exists");
    std::size_t depth = 0;
    for (const Step &step : session.steps) {
        Require(step.firstLine <= step.lastLine && step.lastLine < session.lines.size(),
                "a step has lines of the log");
        Require(step.depth <= depth + 1, "a step follows the one that caused it");
        Require(step.count >= 1, "a step happened");
        depth = step.depth;
    }
    for (std::size_t at = 0; at < session.lines.size(); ++at) {
        const Step &step = session.steps[session.stepOf[at]];
        Require(step.firstLine <= at && at <= step.lastLine, "a step's lines are between its own");
    }
    for (const auto &stretch : session.stretches)
        Require(stretch.firstLine <= stretch.lastLine && stretch.lastLine < session.lines.size(),
                "a stretch has lines of the log");
    for (const std::size_t failure : session.failures)
        Require(failure < session.steps.size() && session.steps[failure].isFailure,
                "a failure is a step that failed");
}

void CheckText(const Session &session, std::size_t logSize) {
    std::size_t size = 0;
    tool::log::WriteText(session, [&](const std::string &line, tool::Style /*style*/) {
        size += line.size();
        for (const char character : line) {
            const auto byte = static_cast<unsigned char>(character);
            Require(byte >= 0x20 && byte != 0x7F, "text has no control characters");
        }
    });
    Require(size < 4096 + 64 * logSize, "text is not out of proportion");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::istringstream log(std::string(reinterpret_cast<const char *>(data), size));
    const Session session = tool::log::ReadSession(log, "a log");
    CheckSteps(session);
    CheckText(session, size);
    const std::size_t longest = 16384 + 256 * size;
    Require(tool::log::JsonOf(session).size() < longest, "JSON is not out of proportion");
    Require(tool::log::TraceOf(session).size() < longest, "nor is the trace");
    if (!session.lines.empty())
        tool::log::PageOf(session);
    return 0;
}
