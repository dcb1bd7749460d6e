#include "recorder/RecorderMessages.h"

#include <new>

namespace tvdesktop {

namespace {

/// Messages need none of the machine's plug-ins. Looking for them would take most of a second at
/// the first start, run their code, and write into the user's cache. A choice that the user made in
/// the environment stays; what is set here lasts for the start alone, as others read it too.
bool InitGStreamer() {
    const char *const variable = "GST_REGISTRY_DISABLE";
    const bool isChosen = g_getenv(variable) != nullptr;
    g_setenv(variable, "yes", FALSE);
    const bool isReady = gst_init_check(nullptr, nullptr, nullptr) != FALSE;
    if (!isChosen)
        g_unsetenv(variable);
    return isReady;
}

/// A program that needs plug-ins has started GStreamer itself before.
bool StartGStreamer() {
    static const bool isReady = gst_is_initialized() != FALSE || InitGStreamer();
    return isReady;
}

}  // namespace

RecorderMessages::RecorderMessages() : m_source(nullptr) {
    if (!StartGStreamer())
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
