#include "ts/DvbText.h"

#include <glib.h>

namespace tvdesktop::ts {

namespace {

struct Encoding {
    std::string name;
    std::size_t prefix = 0;  ///< bytes in front of the text
    enum class Codes { Bytes, Pairs, Characters } codes = Codes::Bytes;  ///< form of control codes
};
using Codes = Encoding::Codes;

Encoding EncodingOf(const std::uint8_t *text, std::size_t size) {
    const std::uint8_t first = text[0];
    if (first >= 0x20)
        return {"ISO_6937", 0, Codes::Bytes};
    if (first <= 0x0B)
        return {"ISO-8859-" + std::to_string(first + 4), 1, Codes::Bytes};
    if (first == 0x10 && size >= 3)
        return {"ISO-8859-" + std::to_string(text[1] << 8 | text[2]), 3, Codes::Bytes};
    switch (first) {
        case 0x11:
        case 0x14:
            return {"UTF-16BE", 1, Codes::Characters};
        case 0x12:
            return {"EUC-KR", 1, Codes::Pairs};
        case 0x13:
            return {"GB2312", 1, Codes::Pairs};
        case 0x15:
            return {"UTF-8", 1, Codes::Characters};
        default:
            return {"ISO_6937", 1, Codes::Bytes};
    }
}

bool IsControlCode(std::uint8_t byte) {
    return byte >= 0x80 && byte <= 0x9F;
}

/// Takes the control codes out that would not survive the conversion.
std::string WithoutControlCodes(const std::uint8_t *text, std::size_t size, Codes codes) {
    constexpr std::uint8_t kLineBreak = 0x8A;
    constexpr std::uint8_t kPairLead = 0xE0;
    std::string plain;
    for (std::size_t i = 0; i < size; ++i) {
        const bool isPair = codes == Codes::Pairs && text[i] == kPairLead && i + 1 < size &&
                            IsControlCode(text[i + 1]);
        i += isPair ? 1 : 0;
        if (codes != Codes::Characters && text[i] == kLineBreak)
            plain += ' ';
        else if (codes == Codes::Characters || !IsControlCode(text[i]))
            plain += static_cast<char>(text[i]);
    }
    return plain;
}

/// Control characters, marks of direction and others without a shape, and the private characters,
/// among them the control codes of DVB (U+E080 to U+E09F).
bool IsShown(gunichar character) {
    switch (g_unichar_type(character)) {
        case G_UNICODE_CONTROL:
        case G_UNICODE_FORMAT:
        case G_UNICODE_LINE_SEPARATOR:
        case G_UNICODE_PARAGRAPH_SEPARATOR:
        case G_UNICODE_PRIVATE_USE:
        case G_UNICODE_SURROGATE:
        case G_UNICODE_UNASSIGNED:
            return false;
        default:
            return true;
    }
}

}  // namespace

std::string PlainText(const std::string &text) {
    constexpr gunichar kLineBreak = 0xE08A;
    std::string plain;
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at < end;) {
        const gunichar character = g_utf8_get_char_validated(at, end - at);
        const bool isValid = character < 0x110000;
        const char *next = isValid ? g_utf8_next_char(at) : at + 1;
        if (isValid && IsShown(character))
            plain.append(at, next);
        else if (character == kLineBreak)
            plain += ' ';
        at = next;
    }
    return plain;
}

std::string DvbTextToUtf8(const std::uint8_t *text, std::size_t size) {
    if (size == 0)
        return {};
    const Encoding encoding = EncodingOf(text, size);
    text += encoding.prefix;
    size -= encoding.prefix;
    const std::string bytes = WithoutControlCodes(text, size, encoding.codes);
    gchar *converted =
        g_convert_with_fallback(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8",
                                encoding.name.c_str(), "?", nullptr, nullptr, nullptr);
    std::string result = PlainText(converted != nullptr ? converted : "");
    g_free(converted);
    return result;
}

}  // namespace tvdesktop::ts
