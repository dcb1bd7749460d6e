/// @file
/// Conversions from broadcast codec numbers to those that stream properties take.
#ifndef TVPLATFORM_TVPLAYERDATAUTIL_H
#define TVPLATFORM_TVPLAYERDATAUTIL_H

#include "TVTypes.h"

/// Pure functions, reentrant. None throws, also for a number that names no codec or mode.
class TVPlayerDataUtil {
  public:
    /// @param type  as channel information carries it
    /// @return      the codec for stream property 509
    static int ConvertVideoEncodeType(EVideoEncodeType type);

    /// @param type  as channel information carries it
    /// @return      the codec for stream properties 314 and 1214
    static int ConvertAudioEncodeType(EAudioEncodeType type);

    /// @param mode  as channel information carries it
    /// @return      the sound mode for stream property 320
    static int ConvertDigitalMTSModeType(EMultiSoundMode mode);
};

#endif
