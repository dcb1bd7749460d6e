// Requests and replies travel as hexadecimal text: these functions turn them into bytes and back.
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "MoxPvr.h"

namespace {

// Compilers turn these two into a few vector instructions for sixteen characters at once. Tables
// and branches per character are several times slower on long texts.

/// All bits set when `value` is below `limit`, none otherwise.
constexpr unsigned int MaskBelow(unsigned char value, unsigned int limit) {
    return 0U - static_cast<unsigned int>(value < limit);
}

/// @return the value of a hexadecimal digit of either case, 0 for every other character
constexpr unsigned char DigitValue(unsigned char c) {
    const unsigned int isNumber = MaskBelow(static_cast<unsigned char>(c - '0'), 10);
    const unsigned int isLetter = MaskBelow(static_cast<unsigned char>((c | 0x20) - 'a'), 6);
    return static_cast<unsigned char>(((c & 0x0FU) + (isLetter & 9U)) & (isNumber | isLetter));
}

/// Decodes pairs of digits. In place is possible: a byte is written after its pair was read, and
/// never past it.
void DecodePairs(const unsigned char *text, std::size_t count, unsigned char *bytes) {
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] =
            static_cast<unsigned char>(DigitValue(text[2 * i]) << 4 | DigitValue(text[2 * i + 1]));
}

/// The two digits of every byte.
struct DigitPairs {
    char pair[256][2];

    constexpr DigitPairs() : pair() {
        constexpr char kDigits[] = "0123456789abcdef";
        for (int byte = 0; byte < 256; ++byte) {
            pair[byte][0] = kDigits[byte >> 4];
            pair[byte][1] = kDigits[byte & 0x0F];
        }
    }
};

constexpr DigitPairs kDigitPairs;

}  // namespace

int hex_char_to_int(char c) {
    return DigitValue(static_cast<unsigned char>(c));
}

int parse_string_to_buf(char *text, int length, void *dest, int *decodedLength) {
    if (decodedLength == nullptr)
        return -1;
    *decodedLength = 0;
    if (dest == nullptr || text == nullptr || length < 1 || length % 2 != 0)
        return -1;
    DecodePairs(reinterpret_cast<const unsigned char *>(text), static_cast<std::size_t>(length) / 2,
                static_cast<unsigned char *>(dest));
    *decodedLength = length / 2;
    return 0;
}

int build_buf_to_string(void *src, unsigned int count, void *dest, unsigned int *textLength) {
    if (textLength == nullptr)
        return 1;
    *textLength = 0;
    if (dest == nullptr || src == nullptr || count == 0 || count > UINT_MAX / 2)
        return 1;
    const auto *bytes = static_cast<const unsigned char *>(src);
    auto *text = static_cast<char *>(dest);
    for (unsigned int i = 0; i < count; ++i, text += 2)
        std::memcpy(text, kDigitPairs.pair[bytes[i]], 2);
    *text = '\0';
    *textLength = 2 * count;
    return 0;
}

int parse_string_to_buf_old(char *text, int length, void *dest, int *decodedLength) {
    if (decodedLength == nullptr)
        return 1;
    *decodedLength = 0;
    if (dest == nullptr || text == nullptr || length == 0 || length % 2 != 0)
        return 1;
    auto *bytes = static_cast<unsigned char *>(dest);
    for (int i = 0; i < length / 2; ++i) {
        const char pair[] = {text[2 * i], text[2 * i + 1], '\0'};
        unsigned int value = 0;
        if (std::sscanf(pair, "%02x", &value) != 1)  // NOLINT(cert-err34-c): a bad pair counts as 0
            value = 0;
        bytes[i] = static_cast<unsigned char>(value);
    }
    *decodedLength = length / 2;
    return 0;
}
