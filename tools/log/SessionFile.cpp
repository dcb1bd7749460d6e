#include "log/SessionFile.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "log/SessionText.h"

namespace tool::log {

namespace {

using Json = nlohmann::ordered_json;

/// Bytes that are not UTF-8 become U+FFFD.
std::string Dump(const Json &json) {
    return json.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json ValuesOf(const Step &step) {
    Json values = Json::array();
    for (const auto &[name, value] : step.values)
        values.push_back({{"name", name}, {"value", value}});
    return values;
}

Json LineJson(const Session &session, std::size_t at) {
    const Line &line = session.lines[at];
    return {{"number", line.number},
            {"time", line.time ? Json(*line.time) : Json(nullptr)},
            {"file", line.file},
            {"function", line.function},
            {"sourceLine", line.sourceLine},
            {"message", line.message},
            {"cut", line.isCut},
            {"step", session.stepOf[at]}};
}

Json StepJson(const Step &step) {
    return {
        {"kind", KindName(step.kind)}, {"side", SideName(step.side)}, {"title", step.title},
        {"values", ValuesOf(step)},    {"outcome", step.outcome},     {"failure", step.isFailure},
        {"depth", step.depth},         {"firstLine", step.firstLine}, {"lastLine", step.lastLine},
        {"count", step.count},         {"text", step.text},           {"cut", step.isCut}};
}

Json MixedOf(const Session &session) {
    Json sides = Json::array();
    for (const Side side : session.mixed)
        sides.push_back(SideName(side));
    return sides;
}

Json StretchJson(const Stretch &stretch) {
    return {{"lane", LaneName(stretch.lane)}, {"side", SideName(stretch.side)},
            {"label", stretch.label},         {"firstLine", stretch.firstLine},
            {"lastLine", stretch.lastLine},   {"open", stretch.isOpen}};
}

// --- Trace ---------------------------------------------------------------------------------------

constexpr int kProcess = 1;

/// Threads of the trace: one per lane, that of what is recorded apart from that of what is played.
int ThreadOf(Lane lane, Side side) {
    return 10 * (static_cast<int>(lane) + 1) + (side == Side::Playback ? 1 : 0);
}
int ThreadOf(const Step &step) {
    return step.side == Side::Recorder ? 1 : 2;
}

Json NameOfThread(int thread, const std::string &name) {
    return {{"ph", "M"},
            {"name", "thread_name"},
            {"pid", kProcess},
            {"tid", thread},
            {"args", {{"name", name}}}};
}

double MicrosecondsOf(const Session &session, std::size_t line) {
    return PositionOf(session, line) * (session.hasTime ? 1e6 : 1e3);
}

bool IsInstant(const Step &step) {
    return step.isFailure || step.kind == StepKind::Request || step.kind == StepKind::Event ||
           step.kind == StepKind::Callback;
}

Json InstantOf(const Session &session, const Step &step) {
    Json arguments = {{"line", session.lines[step.firstLine].number},
                      {"text", session.lines[step.firstLine].message},
                      {"outcome", step.outcome},
                      {"count", step.count}};
    for (const auto &[name, value] : step.values)
        arguments["value." + name] = value;
    return {{"ph", "i"},
            {"s", "t"},
            {"name", (step.isFailure ? "failure: " : "") + step.title},
            {"cat", KindName(step.kind)},
            {"pid", kProcess},
            {"tid", ThreadOf(step)},
            {"ts", MicrosecondsOf(session, step.firstLine)},
            {"args", std::move(arguments)}};
}

Json CompleteOf(const Session &session, const Stretch &stretch) {
    const double begin = MicrosecondsOf(session, stretch.firstLine);
    const double end = MicrosecondsOf(session, stretch.lastLine);
    return {{"ph", "X"},
            {"name", stretch.label},
            {"cat", LaneName(stretch.lane)},
            {"pid", kProcess},
            {"tid", ThreadOf(stretch.lane, stretch.side)},
            {"ts", begin},
            {"dur", std::max(0.0, end - begin)},
            {"args",
             {{"line", session.lines[stretch.firstLine].number},
              {"text", session.lines[stretch.firstLine].message},
              {"open", stretch.isOpen}}}};
}

}  // namespace

std::string JsonOf(const Session &session) {
    Json json = {{"format", "mox-pvr session"},
                 {"version", 1},
                 {"name", session.name},
                 {"hasTime", session.hasTime},
                 {"foreignLines", session.foreignLines},
                 {"unclearLines", session.unclearLines},
                 {"mixed", MixedOf(session)},
                 {"lines", Json::array()},
                 {"steps", Json::array()},
                 {"stretches", Json::array()},
                 {"failures", session.failures},
                 {"missing", session.missing}};
    for (std::size_t at = 0; at < session.lines.size(); ++at)
        json["lines"].push_back(LineJson(session, at));
    for (const Step &step : session.steps)
        json["steps"].push_back(StepJson(step));
    for (const Stretch &stretch : session.stretches)
        json["stretches"].push_back(StretchJson(stretch));
    return Dump(json);
}

std::string TraceOf(const Session &session) {
    Json events = Json::array();
    events.push_back({{"ph", "M"},
                      {"name", "process_name"},
                      {"pid", kProcess},
                      {"args", {{"name", session.name}}}});
    events.push_back(NameOfThread(1, "recorder"));
    events.push_back(NameOfThread(2, "playback"));
    std::vector<int> named;
    for (const Stretch &stretch : session.stretches) {
        const int thread = ThreadOf(stretch.lane, stretch.side);
        if (std::find(named.begin(), named.end(), thread) == named.end()) {
            named.push_back(thread);
            const bool hasTwo = stretch.lane == Lane::Channel;
            events.push_back(NameOfThread(
                thread, LaneName(stretch.lane) +
                            (hasTwo ? std::string(" of the ") + SideName(stretch.side) : "")));
        }
        events.push_back(CompleteOf(session, stretch));
    }
    for (const Step &step : session.steps)
        if (IsInstant(step))
            events.push_back(InstantOf(session, step));
    return Dump({{"displayTimeUnit", "ms"}, {"traceEvents", std::move(events)}});
}

}  // namespace tool::log
