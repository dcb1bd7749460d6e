#include "RecorderMessages.h"

#include <new>

namespace tvdesktop {

RecorderMessages::RecorderMessages() : m_source(nullptr) {
    if (gst_init_check(nullptr, nullptr, nullptr) == FALSE)
        throw std::bad_alloc();
    m_source = GST_OBJECT(gst_object_ref_sink(gst_bin_new("desktop-recorder")));
}

RecorderMessages::~RecorderMessages() {
    gst_object_unref(m_source);
}

MessagePtr RecorderMessages::Application(RecorderApplication type, int parameter) const {
    GstStructure *structure =
        gst_structure_new("recorder", "app_type", G_TYPE_INT, static_cast<int>(type), "app_param",
                          G_TYPE_INT, parameter, nullptr);
    return MessagePtr(gst_message_new_application(m_source, structure));
}

MessagePtr RecorderMessages::Error(RecorderError code, const std::string &text,
                                   const std::string &debug) const {
    GError *error =
        g_error_new_literal(g_quark_from_string("tvdesktop-recorder-error"), code, text.c_str());
    MessagePtr message(gst_message_new_error(m_source, error, debug.c_str()));
    g_error_free(error);
    return message;
}

}  // namespace tvdesktop
