// The protocol header's own decoders: any bytes and any text for every record.
#include "MoxPvrProtocol.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Require.h"

namespace {

using Block = std::unique_ptr<unsigned char[]>;

/// A block of exactly this size, so that a byte too many is noticed.
Block ExactCopy(const std::uint8_t *data, std::size_t size) {
    Block copy = std::make_unique<unsigned char[]>(size);
    if (size > 0)
        std::memcpy(copy.get(), data, size);
    return copy;
}

/// What is decoded survives the way to bytes and back, and is the same when the bytes that are
/// missing are there as zeros.
template <typename Record>
std::vector<unsigned char> DecodeBytes(const unsigned char *bytes, std::size_t size) {
    Record record{};
    moxpvr::Decode(bytes, size, record);
    const std::vector<unsigned char> encoded = moxpvr::EncodeBytes(record);
    Record again{};
    moxpvr::Decode(encoded.data(), encoded.size(), again);
    Require(moxpvr::EncodeBytes(again) == encoded, "what is decoded once stays the same");
    std::vector<unsigned char> whole(bytes, bytes + size);
    whole.resize(std::max(size, encoded.size()));
    moxpvr::Decode(whole.data(), whole.size(), again);
    Require(moxpvr::EncodeBytes(again) == encoded, "what is missing reads as 0");
    return encoded;
}

/// The bytes that a text of digits alone means; none for another.
std::vector<unsigned char> BytesOf(const unsigned char *text, std::size_t size) {
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        if (std::isxdigit(text[i]) == 0 || std::isxdigit(text[i + 1]) == 0)
            return {};
        const char pair[] = {static_cast<char>(text[i]), static_cast<char>(text[i + 1]), '\0'};
        bytes.push_back(static_cast<unsigned char>(std::stoul(pair, nullptr, 16)));
    }
    return bytes;
}

template <typename Record>
void DecodeAnyText(const unsigned char *text, std::size_t size) {
    Record record{};
    const std::vector<unsigned char> empty = moxpvr::EncodeBytes(record);
    const std::vector<unsigned char> bytes = BytesOf(text, size);
    const bool isWhole =
        size % 2 == 0 && size <= 16384 && bytes.size() == size / 2 && bytes.size() >= empty.size();
    Require(moxpvr::DecodeText(text, size, record) == isWhole, "pairs of digits decode alone");
    Require(moxpvr::EncodeBytes(record) ==
                (isWhole ? DecodeBytes<Record>(bytes.data(), bytes.size()) : empty),
            "text decodes as its bytes do, or not at all");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const Block block = ExactCopy(data, size);
    const auto check = [&](const auto &record) {
        using Record = std::decay_t<decltype(record)>;
        DecodeBytes<Record>(block.get(), size);
        DecodeAnyText<Record>(block.get(), size);
    };
    moxpvr::recorder::ForEachRequest(check);
    moxpvr::playback::ForEachRequest(check);
    moxpvr::recorder::ForEachReply(check);
    moxpvr::playback::ForEachReply(check);
    check(moxpvr::SysChangeEvent{});
    check(moxpvr::RecorderStartedEvent{});
    check(moxpvr::InformationFile{});
    Require(size >= 4 || moxpvr::CommandOf(block.get(), size) == 0, "a command has four bytes");
    return 0;
}
