#include "text/PlayerText.h"

#include "text/TimeText.h"

namespace tool {

namespace {

std::string Picture(const tvdesktop::PlayerState &state) {
    if (state.hasVideo == 0)
        return "radio";
    if (state.videoMuted)
        return "no picture";
    return state.still || state.held ? "picture held" : "picture";
}

}  // namespace

const char *RunText(tvdesktop::PlayerState::Run run) {
    switch (run) {
        case tvdesktop::PlayerState::Run::Stopped:
            return "stopped";
        case tvdesktop::PlayerState::Run::Ready:
            return "ready";
        case tvdesktop::PlayerState::Run::Playing:
            return "playing";
        case tvdesktop::PlayerState::Run::Paused:
            return "paused";
    }
    return "?";
}

std::string SeenAndHeard(const tvdesktop::PlayerState &state) {
    if (state.sourceMuted || state.waitingForUnmute)
        return "muted";
    return Picture(state) + (state.audioMuted ? ", no sound" : " and sound");
}

std::string PlayerText(const tvdesktop::PlayerState &state) {
    std::string text = std::string(RunText(state.run)) + " " + RateText(state.rate) + "  " +
                       SeenAndHeard(state) + "  service " + std::to_string(state.program) +
                       "  video " + PidText(state.videoPid) + " audio " + PidText(state.audioPid) +
                       " PCR " + PidText(state.pcrPid);
    if (state.adEnabled)
        text += " description " + PidText(state.adPid);
    return text;
}

std::string TimeSourceText(tvdesktop::TimeSource source, const std::string &recording) {
    const std::string missing = recording + " has no index of its times that agrees with it: ";
    if (source == tvdesktop::TimeSource::Scan)
        return missing + "scanned it";
    if (source == tvdesktop::TimeSource::Samples)
        return missing + "scanned samples of it, so positions may be inexact (mox-pvr repair " +
               recording + " makes an index)";
    return "";
}

}  // namespace tool
