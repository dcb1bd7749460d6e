#include "log/ByteForm.h"

#include "text/TextParts.h"

namespace tool::log {

namespace {

using namespace std::string_view_literals;

struct Compression {
    std::string_view begin;  ///< of the file
    const char *name;
};

constexpr Compression kCompressions[] = {{"\x1f\x8b"sv, "gzip"},
                                         {"BZh"sv, "bzip2"},
                                         {"\xfd"
                                          "7zXZ\0"sv,
                                          "xz"},
                                         {"\x28\xb5\x2f\xfd"sv, "zstd"},
                                         {"\x04\x22\x4d\x18"sv, "lz4"},
                                         {"PK\x03\x04"sv, "zip"}};

/// @return whether every second byte is 0, as in Latin letters of UTF-16
bool HasZeros(std::string_view first, std::size_t from) {
    for (std::size_t at = from; at < first.size(); at += 2)
        if (first[at] != '\0')
            return false;
    return first.size() >= 4;
}

bool IsUtf16(std::string_view first) {
    return StartsWith(first, "\xff\xfe") || StartsWith(first, "\xfe\xff") || HasZeros(first, 0) ||
           HasZeros(first, 1);
}

}  // namespace

std::string FormOf(std::string_view first) {
    if (first.empty())
        return "it is empty";
    for (const Compression &compression : kCompressions)
        if (StartsWith(first, compression.begin))
            return std::string("it is compressed (") + compression.name + "); unpack it first";
    if (IsUtf16(first))
        return "it is UTF-16; convert it to UTF-8 first (iconv -f UTF-16 -t UTF-8)";
    return "";
}

}  // namespace tool::log
