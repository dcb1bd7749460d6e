#include "DvbText.h"

#include <glib.h>

namespace tvdesktop::ts {

namespace {

struct Encoding {
    std::string name;
    std::size_t prefix = 0;  ///< bytes in front of the text
    bool multiByte = false;  ///< bytes of 0x80 to 0x9F are no control codes
};

Encoding EncodingOf(const std::uint8_t *text, std::size_t size) {
    const std::uint8_t first = text[0];
    if (first >= 0x20)
        return {"ISO_6937", 0, false};
    if (first <= 0x0B)
        return {"ISO-8859-" + std::to_string(first + 4), 1, false};
    if (first == 0x10 && size >= 3)
        return {"ISO-8859-" + std::to_string(text[1] << 8 | text[2]), 3, false};
    switch (first) {
        case 0x11:
        case 0x14:
            return {"UTF-16BE", 1, true};
        case 0x12:
            return {"EUC-KR", 1, true};
        case 0x13:
            return {"GB2312", 1, true};
        case 0x15:
            return {"UTF-8", 1, true};
        default:
            return {"ISO_6937", 1, false};
    }
}

std::string WithoutControlCodes(const std::uint8_t *text, std::size_t size) {
    std::string plain;
    for (std::size_t i = 0; i < size; ++i) {
        if (text[i] == 0x8A)
            plain += ' ';
        else if (text[i] < 0x80 || text[i] > 0x9F)
            plain += static_cast<char>(text[i]);
    }
    return plain;
}

}  // namespace

std::string DvbTextToUtf8(const std::uint8_t *text, std::size_t size) {
    if (size == 0)
        return {};
    const Encoding encoding = EncodingOf(text, size);
    text += encoding.prefix;
    size -= encoding.prefix;
    const std::string bytes = encoding.multiByte
                                  ? std::string(reinterpret_cast<const char *>(text), size)
                                  : WithoutControlCodes(text, size);
    gchar *converted =
        g_convert_with_fallback(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8",
                                encoding.name.c_str(), "?", nullptr, nullptr, nullptr);
    std::string result = converted != nullptr ? converted : "";
    g_free(converted);
    return result;
}

}  // namespace tvdesktop::ts
