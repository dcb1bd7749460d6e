#include "log/Markup.h"

#include <glib.h>

#include <memory>

#include "text/Printable.h"

namespace tool::log {

namespace {

constexpr gunichar kPictures = 0x2400;  // of U+0000 and those after it
constexpr gunichar kDelete = 0x7f;
constexpr gunichar kPictureOfDelete = 0x2421;

gunichar Visible(gunichar c) {
    if (c == '\n' || c == '\t')
        return c;
    if (c < ' ')
        return kPictures + c;
    return c == kDelete ? kPictureOfDelete : c;
}

void Append(std::string &markup, gunichar c) {
    switch (c) {
        case '&':
            markup += "&amp;";
            return;
        case '<':
            markup += "&lt;";
            return;
        case '>':
            markup += "&gt;";
            return;
        case '"':
            markup += "&quot;";
            return;
        case '\'':
            markup += "&#39;";
            return;
        default:
            break;
    }
    char bytes[6];
    const gint size = g_unichar_to_utf8(c, bytes);
    markup.append(bytes, static_cast<std::size_t>(size));
}

}  // namespace

std::string Escaped(const std::string &text) {
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), &g_free);
    std::string markup;
    markup.reserve(text.size());
    for (const char *at = valid.get(); *at != '\0'; at = g_utf8_next_char(at)) {
        const gunichar c = g_utf8_get_char(at);
        const std::string name = NameOfHidden(c);
        if (name.empty())
            Append(markup, Visible(c));
        else
            markup += name;
    }
    return markup;
}

std::string Grouped(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t from = text.size(); from > 3; from -= 3)
        text.insert(from - 3, 1, ',');
    return text;
}

std::string Counted(std::size_t number, const std::string &one) {
    return Grouped(number) + " " + one + (number == 1 ? "" : "s");
}

}  // namespace tool::log
