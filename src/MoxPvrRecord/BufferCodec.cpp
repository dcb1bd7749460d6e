// Requests and replies travel as hexadecimal text: these functions turn them into bytes and back.
#include <climits>
#include <cstdio>

#include "MoxPvr.h"

int hex_char_to_int(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return 0;
}

int parse_string_to_buf(char *text, int length, void *dest, int *decodedLength) {
    if (decodedLength == nullptr)
        return -1;
    *decodedLength = 0;
    if (dest == nullptr || text == nullptr || length < 1 || length % 2 != 0)
        return -1;
    auto *bytes = static_cast<unsigned char *>(dest);
    for (int i = 0; i < length / 2; ++i)
        bytes[i] = static_cast<unsigned char>(hex_char_to_int(text[2 * i]) * 16 +
                                              hex_char_to_int(text[2 * i + 1]));
    *decodedLength = length / 2;
    return 0;
}

int build_buf_to_string(void *src, unsigned int count, void *dest, unsigned int *textLength) {
    static const char kDigits[] = "0123456789abcdef";
    if (textLength == nullptr)
        return 1;
    *textLength = 0;
    if (dest == nullptr || src == nullptr || count == 0 || count > UINT_MAX / 2)
        return 1;
    const auto *bytes = static_cast<const unsigned char *>(src);
    auto *text = static_cast<char *>(dest);
    for (unsigned int i = 0; i < count; ++i) {
        *text++ = kDigits[bytes[i] >> 4];
        *text++ = kDigits[bytes[i] & 0x0F];
    }
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
