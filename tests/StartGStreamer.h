/// @file
/// How tests ready GStreamer, which they need for messages alone.
#ifndef TESTS_STARTGSTREAMER_H
#define TESTS_STARTGSTREAMER_H

#include <gst/gst.h>

/// Leaves the machine's plug-ins alone: looking for them takes time, and what they do on the way
/// would be held against the tests.
inline void StartGStreamer() {
    g_setenv("GST_REGISTRY_DISABLE", "yes", FALSE);
    gst_init(nullptr, nullptr);
}

#endif
