#include "text/FieldValue.h"

#include <TVTypes.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>
#include <sstream>

#include "Failure.h"
#include "text/EventText.h"
#include "text/OutcomeText.h"
#include "text/TableText.h"
#include "text/TextParts.h"
#include "text/TimeText.h"

namespace tool {

namespace {

using moxpvr::Meaning;

// --- Bits ----------------------------------------------------------------------------------------

std::uint64_t BitsAt(const Bytes &record, std::size_t offset, std::size_t width) {
    std::uint64_t bits = 0;
    for (std::size_t i = width; i > 0; --i)
        bits = bits << 8 | (offset + i <= record.size() ? record[offset + i - 1] : 0U);
    return bits;
}

void PutBits(std::uint64_t bits, std::size_t offset, std::size_t width, Bytes &record) {
    record.resize(std::max(record.size(), offset + width));
    for (std::size_t i = 0; i < width; ++i)
        record[offset + i] = static_cast<unsigned char>(bits >> (8 * i));
}

/// @return the highest value of a width
constexpr std::uint64_t Highest(std::size_t width) {
    return width < 8 ? (std::uint64_t{1} << (8 * width)) - 1 : ~std::uint64_t{0};
}

std::int64_t SignedValue(std::uint64_t bits, std::size_t width) {
    const std::uint64_t sign = Highest(width) / 2 + 1;
    return static_cast<std::int64_t>((bits ^ sign) - sign);
}

std::uint64_t BitsOf(const FieldLayout &field, const Bytes &record) {
    return BitsAt(record, field.offset, field.width);
}

double RateOf(const FieldLayout &field, const Bytes &record) {
    const std::uint64_t bits = BitsOf(field, record);
    double rate = 0;
    std::memcpy(&rate, &bits, sizeof rate);
    return rate;
}

// --- Words for values ----------------------------------------------------------------------------

struct ValueWords {
    const char *field;
    std::uint64_t value;
    const char *words;
};

constexpr ValueWords kValueWords[] = {
    {"videoCodec", VIDEO_ENCODE_UNKNOWN, "unknown"},
    {"videoCodec", VIDEO_ENCODE_MPEG1, "MPEG-1"},
    {"videoCodec", VIDEO_ENCODE_MPEG2, "MPEG-2"},
    {"videoCodec", VIDEO_ENCODE_MPEG4, "MPEG-4"},
    {"videoCodec", VIDEO_ENCODE_H264, "H.264"},
    {"videoCodec", VIDEO_ENCODE_HEVC, "HEVC"},
    {"audioCodec", AUDIO_ENCODE_UNKNOWN, "unknown"},
    {"audioCodec", AUDIO_ENCODE_MPEG1, "MPEG-1"},
    {"audioCodec", AUDIO_ENCODE_MPEG2, "MPEG-2"},
    {"audioCodec", AUDIO_ENCODE_AAC, "AAC"},
    {"audioCodec", AUDIO_ENCODE_HEAAC, "HE-AAC"},
    {"audioCodec", AUDIO_ENCODE_AC3, "AC-3"},
    {"audioCodec", AUDIO_ENCODE_EAC3, "E-AC-3"},
    {"multiSoundMode", MULTI_SOUND_MONO, "mono"},
    {"multiSoundMode", MULTI_SOUND_STEREO, "stereo"},
    {"multiSoundMode", MULTI_SOUND_DUAL_LEFT, "dual, left"},
    {"multiSoundMode", MULTI_SOUND_DUAL_RIGHT, "dual, right"},
    {"multiSoundMode", MULTI_SOUND_DUAL_MIX, "dual, mixed"},
    {"recordType", static_cast<std::uint64_t>(moxpvr::RecordType::None), "no sink was set"},
    {"recordType", static_cast<std::uint64_t>(moxpvr::RecordType::Recording), "recording"},
    {"recordType", static_cast<std::uint64_t>(moxpvr::RecordType::Timeshift),
     "timeshift buffer, or made of one"},
};

/// @return the words for a value of a field whose values have names
std::string WordsFor(const FieldLayout &field, std::uint64_t value) {
    const std::string name = field.name;
    for (const ValueWords &row : kValueWords)
        if (name == row.field && value == row.value)
            return row.words;
    if (name == "detail")
        return DetailText(static_cast<moxpvr::EventDetail>(value));
    if (name == "result")
        return value == moxpvr::kSuccess ? "done" : ResultText(static_cast<std::uint32_t>(value));
    return "";
}

std::uint64_t NoPid(std::size_t width) {
    return moxpvr::kNoPid & Highest(width);
}

std::uint64_t KeepPid(std::size_t width) {
    return moxpvr::kKeepPid & Highest(width);
}

std::string PidValue(std::uint64_t pid, std::size_t width) {
    if (pid == NoPid(width))
        return "none";
    if (pid == KeepPid(width))
        return "keep";
    std::ostringstream text;
    text << "0x" << std::hex << pid;
    return text.str();
}

std::string PidMeaning(std::uint64_t pid, std::size_t width) {
    if (pid == 0 || pid == NoPid(width))
        return kNoSuchStream;
    if (pid == KeepPid(width))
        return "stays as it is";
    return PidText(static_cast<std::int64_t>(pid)) == "none" ? "not a PID" : "";
}

// --- Lists and paths -----------------------------------------------------------------------------

constexpr std::size_t kPidWidth = 4;

/// @return how many PIDs of a list are read, those included that were not sent and read as 0
std::size_t CountToRead(const FieldLayout &field, const Bytes &record) {
    moxpvr::PidList list;
    list.announced = static_cast<std::int32_t>(BitsOf(field, record));
    return list.size();
}

/// @return how many of them were sent, one that is cut short included
std::size_t CountSent(const FieldLayout &field, const Bytes &record) {
    const std::size_t room = record.size() > field.end() ? record.size() - field.end() : 0;
    return std::min(CountToRead(field, record), (room + kPidWidth - 1) / kPidWidth);
}

std::string ListValue(const FieldLayout &field, const Bytes &record) {
    std::string text;
    for (std::size_t i = 0; i < CountSent(field, record); ++i)
        text += (i == 0 ? "" : ",") +
                PidValue(BitsAt(record, field.end() + kPidWidth * i, kPidWidth), kPidWidth);
    return text;
}

std::string ListMeaning(const FieldLayout &field, const Bytes &record) {
    const std::size_t sent = CountSent(field, record);
    const std::int64_t announced = SignedValue(BitsOf(field, record), field.width);
    std::string text = CountText(sent, "PID");
    if (announced != static_cast<std::int64_t>(sent))
        text += ", announced " + std::to_string(announced);
    if (const std::size_t missing = CountToRead(field, record) - sent; missing > 0)
        text += "; " + std::to_string(missing) + " not sent, each reads as 0";
    return text;
}

std::string PathValue(const FieldLayout &field, const Bytes &record) {
    const std::size_t end = std::min(record.size(), field.end() - 1);
    std::string path;
    for (std::size_t i = field.offset; i < end && record[i] != '\0'; ++i)
        path += static_cast<char>(record[i]);
    return path;
}

// --- From text -----------------------------------------------------------------------------------

[[noreturn]] void Refuse(const FieldLayout &field, const std::string &value) {
    throw UsageError("cannot set " + std::string(field.name) + " to '" + value + "': write " +
                     ValueHelp(field));
}

template <typename Number>
std::optional<Number> ParseAll(const char *begin, const char *end, int base) {
    Number number = 0;
    const auto [last, error] = std::from_chars(begin, end, number, base);
    if (begin == end || last != end || error != std::errc())
        return std::nullopt;
    return number;
}

/// Reads a number that fits a field. One in hexadecimal is its bits, whatever the sign.
std::optional<std::uint64_t> ParseNumber(const std::string &text, std::size_t width,
                                         bool isSigned) {
    const char *begin = text.data();
    const char *end = begin + text.size();
    const std::uint64_t highest = Highest(width);
    if (StartsWith(text, "0x") || StartsWith(text, "0X")) {
        const auto bits = ParseAll<std::uint64_t>(begin + 2, end, 16);
        return bits && *bits <= highest ? bits : std::nullopt;
    }
    if (!isSigned) {
        const auto number = ParseAll<std::uint64_t>(begin, end, 10);
        return number && *number <= highest ? number : std::nullopt;
    }
    const auto number = ParseAll<std::int64_t>(begin, end, 10);
    if (!number || SignedValue(static_cast<std::uint64_t>(*number) & highest, width) != *number)
        return std::nullopt;
    return static_cast<std::uint64_t>(*number) & highest;
}

std::optional<std::uint64_t> ParsePid(const std::string &text, std::size_t width, bool isSigned) {
    if (text == "none")
        return NoPid(width);
    if (text == "keep")
        return KeepPid(width);
    return ParseNumber(text, width, isSigned);
}

std::optional<std::uint64_t> ParseInteger(const FieldLayout &field, const std::string &text) {
    const bool isSigned = field.type == FieldType::Signed;
    if (field.meaning == Meaning::Pid)
        return ParsePid(text, field.width, isSigned);
    if (field.meaning == Meaning::Flag && (text == "yes" || text == "no"))
        return text == "yes" ? 1 : 0;
    for (const ValueWords &row : kValueWords)
        if (std::string(field.name) == row.field && text == row.words)
            return row.value;
    return ParseNumber(text, field.width, isSigned);
}

void SetRate(const FieldLayout &field, const std::string &text, Bytes &record) {
    double rate = 0;
    const char *end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, rate);
    if (text.empty() || last != end || error != std::errc())
        Refuse(field, text);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &rate, sizeof bits);
    PutBits(bits, field.offset, field.width, record);
}

void SetPath(const FieldLayout &field, const std::string &path, Bytes &record) {
    moxpvr::TextField text;
    if (!text.Set(path))
        Refuse(field, path);
    record.resize(std::max(record.size(), field.end()));
    std::memcpy(&record[field.offset], text.text, sizeof text.text);
}

void SetList(const FieldLayout &field, const std::string &text, Bytes &record) {
    moxpvr::PidList list;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t comma = std::min(text.find(',', begin), text.size());
        const std::string pid = text.substr(begin, comma - begin);
        const auto value = ParsePid(pid, kPidWidth, false);
        const bool isListEnd = comma + 1 == text.size();
        if (!value || isListEnd)
            Refuse(field, text);
        if (!list.Add(static_cast<std::uint32_t>(*value)))
            throw UsageError("cannot set " + std::string(field.name) + " to so many PIDs: write " +
                             ValueHelp(field));
        begin = comma + 1;
    }
    PutBits(list.size(), field.offset, field.width, record);
    for (std::size_t i = 0; i < list.size(); ++i)
        PutBits(list.pid[i], field.end() + kPidWidth * i, kPidWidth, record);
}

std::string RangeText(const FieldLayout &field) {
    const std::uint64_t highest = Highest(field.width);
    if (field.type == FieldType::Signed)
        return std::to_string(SignedValue(highest / 2 + 1, field.width)) + " to " +
               std::to_string(highest / 2);
    return "0 to " + std::to_string(highest);
}

}  // namespace

std::string ValueText(const FieldLayout &field, const Bytes &record) {
    switch (field.type) {
        case FieldType::Path:
            return PathValue(field, record);
        case FieldType::PidList:
            return ListValue(field, record);
        case FieldType::Rate: {
            char text[32];
            const auto end = std::to_chars(text, text + sizeof text, RateOf(field, record)).ptr;
            return std::string(text, end);
        }
        case FieldType::Signed:
        case FieldType::Unsigned:
            break;
    }
    const std::uint64_t bits = BitsOf(field, record);
    if (field.meaning == Meaning::Pid)
        return PidValue(bits, field.width);
    return field.type == FieldType::Signed ? std::to_string(SignedValue(bits, field.width))
                                           : std::to_string(bits);
}

std::string MeaningText(const FieldLayout &field, const Bytes &record) {
    if (field.type == FieldType::Path)
        return "";
    if (field.type == FieldType::PidList)
        return ListMeaning(field, record);
    const std::uint64_t bits = BitsOf(field, record);
    switch (field.meaning) {
        case Meaning::Flag:
            return bits == 0 ? "no" : "yes";
        case Meaning::Pid:
            return PidMeaning(bits, field.width);
        case Meaning::Time: {
            const std::int64_t time = field.type == FieldType::Signed
                                          ? SignedValue(bits, field.width)
                                          : static_cast<std::int64_t>(bits);
            return time < 0 ? "negative" : TimeText(time);
        }
        case Meaning::Rate:
            return RateText(RateOf(field, record));
        default:
            return WordsFor(field, bits);
    }
}

std::string ValueHelp(const FieldLayout &field) {
    switch (field.type) {
        case FieldType::Path:
            return "a path of at most " + std::to_string(field.width - 1) + " bytes";
        case FieldType::PidList:
            return "at most " + std::to_string(moxpvr::PidList::Capacity()) +
                   " PIDs with commas between them";
        case FieldType::Rate:
            return "a decimal number; 1 is normal speed, negative is rewind";
        case FieldType::Signed:
        case FieldType::Unsigned:
            break;
    }
    if (field.meaning == Meaning::Pid)
        return "a PID, none or keep";
    if (field.meaning == Meaning::Flag)
        return "0, 1, yes or no";
    std::string words;
    for (const ValueWords &row : kValueWords)
        if (std::string(field.name) == row.field)
            words += (words.empty() ? "; " : ", ") + std::to_string(row.value) + ": " + row.words;
    return RangeText(field) + words;
}

void SetValue(const FieldLayout &field, const std::string &value, Bytes &record) {
    switch (field.type) {
        case FieldType::Path:
            return SetPath(field, value, record);
        case FieldType::PidList:
            return SetList(field, value, record);
        case FieldType::Rate:
            return SetRate(field, value, record);
        case FieldType::Signed:
        case FieldType::Unsigned:
            break;
    }
    const auto bits = ParseInteger(field, value);
    if (!bits)
        Refuse(field, value);
    PutBits(*bits, field.offset, field.width, record);
}

}  // namespace tool
