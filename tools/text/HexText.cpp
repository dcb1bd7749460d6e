#include "text/HexText.h"

#include <algorithm>

namespace tool {

namespace {

int DigitValue(char c) {
    return moxpvr::detail::DigitValue(static_cast<unsigned char>(c));
}

unsigned int DigitOrZero(char c) {
    return static_cast<unsigned int>(std::max(DigitValue(c), 0));
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
        bytes[i] = static_cast<unsigned char>(DigitOrZero(text[2 * i]) << 4 |
                                              DigitOrZero(text[2 * i + 1]));
    return bytes;
}

std::uint32_t CommandIn(const Bytes &request) {
    Bytes word(request.begin(),
               request.begin() + std::min<std::ptrdiff_t>(4, std::ptrdiff_t(request.size())));
    word.resize(4);
    return moxpvr::CommandOf(word.data(), word.size());
}

std::optional<std::size_t> FirstStrangeCharacter(const std::string &text) {
    const auto found =
        std::find_if(text.begin(), text.end(), [](char c) { return DigitValue(c) < 0; });
    if (found == text.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - text.begin());
}

}  // namespace tool
