/// @file
/// The property list of a stream: which ids there are, what type each has and where it is kept.
#ifndef TVDESKTOP_PLAYER_STREAMPROPERTIES_H
#define TVDESKTOP_PLAYER_STREAMPROPERTIES_H

#include <string>

#include "system/PropertyArguments.h"
#include "TvDesktop.h"

namespace tvdesktop {

/// What properties 801, 805 and 806 name.
struct PlaybackSource {
    std::string path;
    bool isTimeshift = false;
    int startMs = 0;  ///< milliseconds of stream time
};

/// What the properties of a stream change.
struct StreamSettings {
    PlayerState state;
    PlaybackSource source;
    bool isNewSource = false;  ///< the list has property 801, which opens its source
};

/// @return false when the list cannot be read, or does not end within 64 pairs; then a part of it
///         is in the settings
bool ReadStreamProperties(PropertyArguments &arguments, StreamSettings &settings);

}  // namespace tvdesktop

#endif
