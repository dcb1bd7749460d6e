#include "text/OutcomeText.h"

namespace tool {

namespace {

struct ResultWords {
    std::uint32_t result;
    const char *words;
};

constexpr ResultWords kResults[] = {
    {tvdesktop::kRecorderBadProperty, "it does not take these values"},
    {tvdesktop::kRecorderAlreadyRunning, "it runs already"},
    {tvdesktop::kRecorderNotRunning, "it does not run"},
    {tvdesktop::kRecorderNoSink, "there is no file to write to"},
    {tvdesktop::kRecorderSourceFailed, "the source cannot be opened"},
    {tvdesktop::kRecorderSinkFailed, "the recording cannot be opened for writing"},
    {tvdesktop::kRecorderWriteFailed, "not everything could be written"},
    {tvdesktop::kRecorderNotTimeshift, "the sink is not a timeshift buffer in a file"},
    {tvdesktop::kRecorderFileExists, "the file exists"},
    {tvdesktop::kPlayerWrongState, "the player is not in the state for it"},
    {tvdesktop::kPlayerNoSource, "the recording cannot be read"},
    {tvdesktop::kPlayerNoStream, "it has no stream time (PCR), or nothing to decode"},
    {tvdesktop::kPlayerNoChannelInfo, "neither the side file nor a PMT describes the recording"},
};

std::string PacketsText(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " packet " : " packets ");
}

}  // namespace

const char *ResultText(std::uint32_t result) {
    for (const ResultWords &row : kResults)
        if (row.result == result)
            return row.words;
    return "the platform refused it";
}

std::string LossText(const tvdesktop::RecordingReport &report) {
    std::string text;
    const auto add = [&text](std::uint64_t count, const std::string &what) {
        if (count > 0)
            text += (text.empty() ? "" : "; ") + what;
    };
    add(report.transportErrors,
        "left out " + PacketsText(report.transportErrors) + "of the source with a transport error");
    add(report.lost, "left out about " + PacketsText(report.lost) +
                         "of the source that were cut short or lost their sync byte");
    add(report.scrambled, "recorded " + PacketsText(report.scrambled) + "scrambled, " +
                              PacketsText(report.packets - report.scrambled) + "in clear");
    return text;
}

std::string UselessText(const tvdesktop::RecordingReport &report) {
    if (report.units == 0 && report.scrambled > 0)
        return "nothing to see or hear was recorded: the service is scrambled; choose one in clear";
    if (report.units == 0)
        return "nothing to see or hear was recorded: none came on the PIDs of the service";
    if (!report.hasStreamTime)
        return "nothing that can be played was recorded: the service has no PCR, so neither speed "
               "nor "
               "duration can be kept";
    return "";
}

}  // namespace tool
