/// @file
/// The property list of a recorder.
#ifndef TVDESKTOP_RECORDER_RECORDERPROPERTIES_H
#define TVDESKTOP_RECORDER_RECORDERPROPERTIES_H

#include <TVTypes.h>

#include <optional>
#include <string>
#include <vector>

#include "recorder/StreamSelection.h"
#include "system/PropertyArguments.h"

namespace tvdesktop {

/// What one property list asks for, in full before any of it is done.
struct RecorderPropertyList {
    std::vector<StreamSelection::PidProperty> pids;
    std::vector<TvChannelInfo> channels;
    std::optional<std::string> fileName;
    std::optional<bool> isTimeshift;
    std::optional<std::string> swapTo;

    bool TouchesSink() const { return fileName || isTimeshift; }
};

/// @return false for an unknown id, whose value could not even be skipped, and for a bad value
bool ReadRecorderProperties(PropertyArguments &arguments, RecorderPropertyList &list);

}  // namespace tvdesktop

#endif
