#include "text/HexText.h"

#include <MoxPvr.h>

#include <algorithm>
#include <cctype>

namespace tool {

namespace {

unsigned int DigitValue(char c) {
    return static_cast<unsigned int>(hex_char_to_int(c));
}

bool IsHexDigit(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

std::string HexOf(const unsigned char *bytes, std::size_t count) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}

std::string HexOf(const Bytes &bytes) {
    return HexOf(bytes.data(), bytes.size());
}

Bytes BytesOf(const std::string &text) {
    Bytes bytes(text.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] =
            static_cast<unsigned char>(DigitValue(text[2 * i]) << 4 | DigitValue(text[2 * i + 1]));
    return bytes;
}

std::uint32_t CommandIn(const Bytes &request) {
    Bytes padded = request;
    padded.resize(std::max(request.size(), std::size_t{4}));
    return moxpvr::CommandOf(padded.data(), padded.size());
}

std::optional<std::size_t> FirstStrangeCharacter(const std::string &text) {
    const auto found = std::find_if_not(text.begin(), text.end(), IsHexDigit);
    if (found == text.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - text.begin());
}

}  // namespace tool
