#include "ControlInput.h"

#include <gst/gst.h>

#include <cstring>
#include <vector>

#include "MoxPvr.h"

namespace {

std::string ToDigits(const std::vector<std::uint8_t> &record) {
    std::string digits;
    for (const std::uint8_t byte : record) {
        constexpr char kDigits[] = "0123456789abcDEF";
        digits += kDigits[byte >> 4];
        digits += kDigits[byte & 15];
    }
    return digits;
}

/// Repeats a text until it is so long.
std::string Stretch(const std::string &text, std::size_t length) {
    std::string stretched;
    while (stretched.size() < length)
        stretched += text.empty() ? "0" : text;
    stretched.resize(length);
    return stretched;
}

}  // namespace

ControlInput::ControlInput(FuzzedDataProvider &input) {
    const auto shape = input.ConsumeEnum<Shape>();
    const auto command = input.ConsumeIntegral<std::uint8_t>();
    auto bytes = input.ConsumeBytes<std::uint8_t>(
        input.ConsumeIntegralInRange<std::size_t>(0, kLongestText / 2));
    std::string text(bytes.begin(), bytes.end());
    if (shape == Shape::Record || shape == Shape::Terminated || shape == Shape::AroundLimit) {
        bytes.insert(bytes.begin(), {command, 0, 0, 0});
        text = ToDigits(bytes);
    }
    if (shape == Shape::AroundLimit)
        text = Stretch(text, kLongestText - 8 + input.ConsumeIntegralInRange<std::size_t>(0, 16));

    m_hasText = shape != Shape::Missing;
    m_announced = static_cast<unsigned int>(text.size());
    if (shape == Shape::BeyondLimit)
        m_announced = input.ConsumeIntegralInRange<unsigned int>(kLongestText + 1, ~0U);
    else if (shape == Shape::Longer)
        m_announced = input.ConsumeIntegralInRange(0U, m_announced);
    const bool isTerminated = shape == Shape::Terminated || shape == Shape::BeyondLimit;
    m_block = std::make_unique<unsigned char[]>(text.size() + (isTerminated ? 1 : 0));
    std::copy(text.begin(), text.end(), m_block.get());
}

std::string ControlInput::Shown() const {
    const auto *text = reinterpret_cast<const char *>(m_block.get());
    return {text, strnlen(text, std::min(m_announced, kLongestText))};
}

unsigned int ControlInput::Command() const {
    if (!m_hasText || m_announced == 0 || m_announced % 2 != 0 || m_announced > kLongestText)
        return 0;
    unsigned int command = 0;
    for (unsigned int i = std::min(m_announced, 8U); i > 0; i -= 2)
        command = command << 8 | static_cast<unsigned int>(
                                     hex_char_to_int(static_cast<char>(m_block[i - 2])) * 16 +
                                     hex_char_to_int(static_cast<char>(m_block[i - 1])));
    return command;
}

void MessageDeleter::operator()(GstMessage *message) const {
    gst_message_unref(message);
}

MessagePointer TakeMessage(FuzzedDataProvider &input) {
    GstObject *source = nullptr;
    if (input.ConsumeBool())
        source = GST_OBJECT(gst_object_ref_sink(gst_bin_new("source")));
    GstMessage *message = nullptr;
    switch (input.ConsumeIntegralInRange(0, 5)) {
        case 0:
            message = gst_message_new_application(
                source, gst_structure_new("application", "app_type", G_TYPE_INT,
                                          input.ConsumeIntegralInRange(-1, 6), "app_param",
                                          G_TYPE_INT, input.ConsumeIntegral<int>(), nullptr));
            break;
        case 1:  // fields of other types than the handlers ask for
            message = gst_message_new_application(
                source, gst_structure_new("application", "app_type", G_TYPE_STRING, "2",
                                          "app_param", G_TYPE_INT64, gint64{1}, nullptr));
            break;
        case 2:
            message = gst_message_new_application(source, nullptr);
            break;
        case 3: {
            GError *error = g_error_new_literal(gst_stream_error_quark(),
                                                input.ConsumeIntegralInRange(-1, 6), "%s%n");
            message = gst_message_new_error(source, error, input.ConsumeBool() ? "debug" : nullptr);
            g_error_free(error);
            break;
        }
        case 4:
            message = gst_message_new_eos(source);
            break;
        default:
            break;
    }
    if (source != nullptr)
        gst_object_unref(source);
    return MessagePointer(message);
}

void InitializeMessages() {
    g_setenv("GST_REGISTRY_DISABLE", "yes", FALSE);  // no code of plug-ins in a run
    gst_init(nullptr, nullptr);
    g_set_printerr_handler([](const gchar * /*text*/) {});
}
