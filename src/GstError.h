/// @file
/// What the error messages of the media pipelines carry.
#ifndef MOXPVR_GSTERROR_H
#define MOXPVR_GSTERROR_H

#include <gst/gst.h>

namespace mox {

/// The error and the debug text of a GStreamer error message
/// (gst_message_parse_error,
/// https://gstreamer.freedesktop.org/documentation/gstreamer/gstmessage.html). Owns both; either
/// may be missing, and both are for a message of another type.
class GstError {
  public:
    explicit GstError(GstMessage *message) : m_source(GST_MESSAGE_SRC(message)) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
            gst_message_parse_error(message, &m_error, &m_debug);
    }
    ~GstError() {
        g_clear_error(&m_error);
        g_free(m_debug);
    }
    GstError(const GstError &) = delete;
    GstError &operator=(const GstError &) = delete;

    bool HasError() const { return m_error != nullptr; }
    bool HasDebugText() const { return m_debug != nullptr; }

    int code() const { return m_error->code; }
    const char *text() const { return m_error->message; }
    const char *elementName() const {
        return m_source != nullptr ? GST_OBJECT_NAME(m_source) : "unknown";
    }

  private:
    GstObject *m_source;
    GError *m_error = nullptr;
    gchar *m_debug = nullptr;
};

/// @return an integer field of a message's structure, 0 when it is missing
inline int MessageField(GstMessage *message, const char *name) {
    gint value = 0;
    const GstStructure *structure = gst_message_get_structure(message);
    if (structure != nullptr)
        gst_structure_get_int(structure, name, &value);
    return value;
}

}  // namespace mox

#endif
