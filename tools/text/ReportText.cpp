#include "text/ReportText.h"

namespace tool {

namespace {

std::string Packets(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " packet " : " packets ");
}

}  // namespace

std::string LossText(const tvdesktop::RecordingReport &report) {
    std::string text;
    const auto add = [&text](std::uint64_t count, const std::string &what) {
        if (count > 0)
            text += (text.empty() ? "" : "; ") + what;
    };
    add(report.transportErrors,
        "left out " + Packets(report.transportErrors) + "of the source with a transport error");
    add(report.lost, "left out about " + Packets(report.lost) +
                         "of the source that were cut short or lost their sync byte");
    add(report.scrambled, "recorded " + Packets(report.scrambled) + "scrambled, " +
                              Packets(report.packets - report.scrambled) + "in clear");
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
