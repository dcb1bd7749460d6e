#include "verbs/Repair.h"

#include <TvDesktop.h>

#include "Failure.h"
#include "service/RecordingFiles.h"

namespace tool {

namespace {

std::string StretchesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " stretch" : " stretches");
}

}  // namespace

void RunRepair(const std::string &recording, const Console &console) {
    using Outcome = tvdesktop::RepairResult::Outcome;
    const tvdesktop::RepairResult result = tvdesktop::RepairChannelLog(recording);
    if (!result.error.empty())
        throw Failure(result.error);
    const std::string sideFile = SideFilePath(recording);
    switch (result.outcome) {
        case Outcome::Kept:
            console.terminal.Line("kept " + sideFile + ": it agrees with the recording (" +
                                      StretchesText(result.stretches) + ")",
                                  Style::Good);
            return;
        case Outcome::Rebuilt:
            console.terminal.Line(
                "rebuilt " + sideFile + " with " + StretchesText(result.stretches), Style::Good);
            return;
        case Outcome::Nothing:
            break;
    }
    throw Failure("cannot rebuild " + sideFile + ": the recording holds no service with its PMT");
}

}  // namespace tool
