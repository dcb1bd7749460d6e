/// @file
/// Conversions from broadcast codec numbers to those that stream properties take.
#ifndef TVPLATFORM_TVPLAYERDATAUTIL_H
#define TVPLATFORM_TVPLAYERDATAUTIL_H

#include "TVTypes.h"

/// Pure functions, reentrant. None throws, also for a number that names no codec or mode.
class TVPlayerDataUtil {
  public:
    static int ConvertVideoEncodeType(EVideoEncodeType type);    ///< for property 509
    static int ConvertAudioEncodeType(EAudioEncodeType type);    ///< for 314 and 1214
    static int ConvertDigitalMTSModeType(EMultiSoundMode mode);  ///< for property 320
};

#endif
