// The codec: bytes survive the way to text and back, and no decoder reads or writes beyond the
// lengths it is told.
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "MoxPvr.h"
#include "Require.h"

namespace {

using Decoder = int (*)(char *, int, void *, int *);
constexpr Decoder kDecoders[] = {parse_string_to_buf, parse_string_to_buf_old};

std::unique_ptr<char[]> ExactCopy(const void *bytes, std::size_t count) {
    auto copy = std::make_unique<char[]>(count);
    std::memcpy(copy.get(), bytes, count);
    return copy;
}

void RoundTrip(const std::uint8_t *data, std::size_t size) {
    const auto bytes = ExactCopy(data, size);
    std::vector<char> text(2 * size + 1, 'x');
    unsigned int length = 1;
    const int built =
        build_buf_to_string(bytes.get(), static_cast<unsigned int>(size), text.data(), &length);
    Require(built == (size == 0 ? 1 : 0) && length == 2 * size, "bytes become text");
    if (size == 0)
        return;
    Require(text[length] == '\0', "text ends with its NUL");
    Require(strspn(text.data(), "0123456789abcdef") == length, "text is lower-case digits");
    for (const Decoder decode : kDecoders) {
        std::vector<std::uint8_t> back(size);
        int count = 0;
        Require(decode(text.data(), static_cast<int>(length), back.data(), &count) == 0 &&
                    std::memcmp(back.data(), data, size) == 0,
                "text becomes the same bytes");
    }
}

void DecodeAnything(const std::uint8_t *data, std::size_t size) {
    const auto text = ExactCopy(data, size);
    for (const Decoder decode : kDecoders) {
        const auto bytes = std::make_unique<char[]>(size / 2);
        int count = -7;
        const int result = decode(text.get(), static_cast<int>(size), bytes.get(), &count);
        const bool isDecodable = size > 0 && size % 2 == 0;
        Require((result == 0) == isDecodable && count == (isDecodable ? int(size / 2) : 0),
                "even texts decode, others do not");
    }
}

/// Lengths that no text has, given for one that is there, and a missing destination.
void RefuseLengths(const std::uint8_t *data, std::size_t size) {
    const auto text = ExactCopy(data, size);
    int length = 0;
    std::memcpy(&length, data, std::min(size, sizeof length));
    length |= static_cast<int>(0x80000000U);
    char byte = 'x';
    int count = 0;
    Require(parse_string_to_buf(text.get(), length, &byte, &count) == -1, "no length is negative");
    const bool isOdd = length % 2 != 0;
    Require(parse_string_to_buf_old(text.get(), length, &byte, &count) == (isOdd ? 1 : 0) &&
                count == (isOdd ? 0 : length / 2) && byte == 'x',
            "the earlier decoder decodes nothing of a negative length");
    Require(parse_string_to_buf(text.get(), static_cast<int>(size), nullptr, &count) == -1 &&
                parse_string_to_buf_old(text.get(), static_cast<int>(size), nullptr, &count) == 1,
            "a destination is needed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    RoundTrip(data, size);
    DecodeAnything(data, size);
    RefuseLengths(data, size);
    return 0;
}
