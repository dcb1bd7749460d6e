/// @file
/// Messages as the platform's GStreamer bus brings them.
#ifndef TESTS_LIBRARY_BUSMESSAGES_H
#define TESTS_LIBRARY_BUSMESSAGES_H

#include <gst/gst.h>

#include <memory>

using BusMessage = std::unique_ptr<GstMessage, decltype(&gst_message_unref)>;

/// @return where messages come from, an element "demux0"; it stays until the process ends
inline GstObject *MessageSource() {
    static GstObject *source = [] {
        // Leaves the machine's plug-ins alone: looking for them takes time, and what they do on the
        // way would be held against the tests.
        g_setenv("GST_REGISTRY_DISABLE", "yes", FALSE);
        gst_init(nullptr, nullptr);
        return GST_OBJECT(gst_object_ref_sink(gst_bin_new("demux0")));
    }();
    return source;
}

inline BusMessage ApplicationMessage(int type, int parameter = 0) {
    GstObject *source = MessageSource();
    return {gst_message_new_application(
                source, gst_structure_new("pvr", "app_type", G_TYPE_INT, type, "app_param",
                                          G_TYPE_INT, parameter, nullptr)),
            gst_message_unref};
}

/// @param debug  a text that recorders demand; may be null
inline BusMessage ErrorMessage(int code, const char *debug = "debug") {
    GstObject *source = MessageSource();
    const std::unique_ptr<GError, decltype(&g_error_free)> error(
        g_error_new(GST_RESOURCE_ERROR, code, "disk gone"), g_error_free);
    return {gst_message_new_error(source, error.get(), debug), gst_message_unref};
}

#endif
