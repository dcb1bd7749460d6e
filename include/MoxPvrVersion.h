/// @file
/// The version of the library that a service is compiled against, as MAJOR.MINOR.PATCH of Semantic
/// Versioning. mox_pvr_version() of MoxPvr.h is the version of the one that is loaded.
///
/// The numbers are written here only: the build reads them from this file.
#ifndef MOXPVR_MOXPVRVERSION_H
#define MOXPVR_MOXPVRVERSION_H

/// Changes with what breaks services; number of the SONAME.
#define MOXPVR_VERSION_MAJOR 0
/// Changes with what services can do more.
#define MOXPVR_VERSION_MINOR 1
/// Changes with what was mended.
#define MOXPVR_VERSION_PATCH 0

/// @cond
#define MOXPVR_VERSION_TEXT_OF(major, minor, patch) #major "." #minor "." #patch
#define MOXPVR_VERSION_TEXT(major, minor, patch) MOXPVR_VERSION_TEXT_OF(major, minor, patch)
/// @endcond

/// The three as text: "0.1.0" for 0, 1, 0.
#define MOXPVR_VERSION \
    MOXPVR_VERSION_TEXT(MOXPVR_VERSION_MAJOR, MOXPVR_VERSION_MINOR, MOXPVR_VERSION_PATCH)

#endif
