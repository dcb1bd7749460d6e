#include "text/Printable.h"

#include <glib.h>

#include <cstdio>

namespace tool {

namespace {

constexpr char32_t kDelete = 0x7f;
constexpr char32_t kLast = 0x10ffff;

std::string ByteText(char byte) {
    char text[8];
    std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned char>(byte));
    return text;
}

/// @return whether Unicode has given a number to no character: the last two of each plane
bool IsNoncharacter(char32_t character) {
    return (character & 0xfffeU) == 0xfffeU;
}

}  // namespace

std::string Printable(const std::string &text) {
    std::string printable;
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at != end;) {
        // Bytes that are not UTF-8 give a number above the last character's.
        const char32_t character = g_utf8_get_char_validated(at, end - at);
        if (character > kLast || character < ' ' || character == kDelete) {
            printable += ByteText(*at++);
            continue;
        }
        const char *const next = g_utf8_next_char(at);
        const std::string name = NameOfHidden(character);
        printable += name.empty() ? std::string(at, next) : name;
        at = next;
    }
    return printable;
}

std::string PrintableAscii(const std::string &text) {
    std::string printable;
    for (const char c : text)
        printable += c >= ' ' && c <= '~' && c != '\\' ? std::string(1, c) : ByteText(c);
    return printable;
}

std::string NameOfHidden(char32_t character) {
    if (character <= kDelete)
        return "";
    switch (g_unichar_type(character)) {
        case G_UNICODE_CONTROL:
        case G_UNICODE_FORMAT:
        case G_UNICODE_LINE_SEPARATOR:
        case G_UNICODE_PARAGRAPH_SEPARATOR:
            break;
        default:
            if (!IsNoncharacter(character))
                return "";
    }
    char name[16];
    std::snprintf(name, sizeof name, "\\u{%x}", static_cast<unsigned int>(character));
    return name;
}

}  // namespace tool
