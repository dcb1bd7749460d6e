// Requests and replies travel as hexadecimal text: these functions turn them into bytes and back.
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

#include "MoxPvr.h"

namespace {

/// @return the value of a hexadecimal digit of either case, 0 for every other character
constexpr unsigned char DigitValue(unsigned char c) {
    // Without a branch, and with the signed comparisons that vector instructions have for bytes.
    constexpr int kLowest = -128;
    const auto number = static_cast<signed char>(c - '0' + kLowest);
    const auto letter = static_cast<signed char>((c | 0x20) - 'a' + kLowest);
    const unsigned char isNumber = number < kLowest + 10 ? 0xFF : 0;
    const unsigned char isLetter = letter < kLowest + 6 ? 0xFF : 0;
    return static_cast<unsigned char>((c & 0x0F & (isNumber | isLetter)) + (isLetter & 9));
}

/// The same for every character, to look up one by one.
template <typename Characters>
struct DigitTable;
template <std::size_t... kCharacters>
struct DigitTable<std::index_sequence<kCharacters...>> {
    static constexpr unsigned char of[] = {DigitValue(static_cast<unsigned char>(kCharacters))...};
};
using DigitValues = DigitTable<std::make_index_sequence<256>>;

#if defined(__SSE2__) || defined(__ARM_NEON)
constexpr bool kHasVectors = true;
#else
constexpr bool kHasVectors = false;  // the table alone is four times faster
#endif

constexpr unsigned char Joined(unsigned char high, unsigned char low) {
    return static_cast<unsigned char>(high << 4 | low);
}

/// Decodes pairs of digits. In place is possible: bytes are written after their pairs were read,
/// and never past them.
void DecodePairs(const unsigned char *text, std::size_t count, unsigned char *bytes) {
    // Compilers turn these two loops into vector instructions for sixteen characters at a time; one
    // loop that does both takes five times as long, and so does one that is unrolled before.
    constexpr std::size_t kBlock = 16;
    unsigned char digits[2 * kBlock];
    for (; kHasVectors && count >= kBlock; count -= kBlock, text += 2 * kBlock, bytes += kBlock) {
        for (std::size_t i = 0; i < 2 * kBlock; ++i)
            digits[i] = DigitValue(text[i]);
#pragma GCC unroll 1
        for (std::size_t i = 0; i < kBlock; ++i)
            bytes[i] = Joined(digits[2 * i], digits[2 * i + 1]);
    }
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = Joined(DigitValues::of[text[2 * i]], DigitValues::of[text[2 * i + 1]]);
}

/// The two digits of every byte.
constexpr char kDigitPairs[] =
    "000102030405060708090a0b0c0d0e0f"
    "101112131415161718191a1b1c1d1e1f"
    "202122232425262728292a2b2c2d2e2f"
    "303132333435363738393a3b3c3d3e3f"
    "404142434445464748494a4b4c4d4e4f"
    "505152535455565758595a5b5c5d5e5f"
    "606162636465666768696a6b6c6d6e6f"
    "707172737475767778797a7b7c7d7e7f"
    "808182838485868788898a8b8c8d8e8f"
    "909192939495969798999a9b9c9d9e9f"
    "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf"
    "b0b1b2b3b4b5b6b7b8b9babbbcbdbebf"
    "c0c1c2c3c4c5c6c7c8c9cacbcccdcecf"
    "d0d1d2d3d4d5d6d7d8d9dadbdcdddedf"
    "e0e1e2e3e4e5e6e7e8e9eaebecedeeef"
    "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff";

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
    // Most replies are a few fields of four bytes: twice as fast as one by one.
#pragma GCC unroll 4
    for (const unsigned char *end = bytes + count; bytes != end; ++bytes, text += 2)
        std::memcpy(text, kDigitPairs + std::size_t{2} * *bytes, 2);
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
