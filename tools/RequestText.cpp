#include "RequestText.h"

#include <algorithm>
#include <cstring>

#include "TimeText.h"

namespace tool {

namespace {

enum class Kind { Number, Pid, Time, Rate, Text, PidList };

struct Field {
    Target target;
    std::uint32_t command;
    std::size_t offset;
    const char *name;
    Kind kind;
};

constexpr Field kFields[] = {
    {Target::Recorder, 1, 4, "handle", Kind::Number},
    {Target::Recorder, 1, 8, "service", Kind::Number},
    {Target::Recorder, 2, 8, "video", Kind::Pid},
    {Target::Recorder, 2, 4, "audio", Kind::Pid},
    {Target::Recorder, 2, 12, "PCR", Kind::Pid},
    {Target::Recorder, 2, 24, "description", Kind::Pid},
    {Target::Recorder, 3, 4, "file", Kind::Text},
    {Target::Recorder, 3, 260, "timeshift", Kind::Number},
    {Target::Recorder, 11, 4, "file", Kind::Text},
    {Target::Recorder, 12, 4, "PIDs", Kind::PidList},
    {Target::Recorder, 18, 4, "duration", Kind::Time},
    {Target::Playback, 1, 4, "handle", Kind::Number},
    {Target::Playback, 2, 4, "file", Kind::Text},
    {Target::Playback, 2, 260, "from", Kind::Time},
    {Target::Playback, 2, 264, "timeshift", Kind::Number},
    {Target::Playback, 6, 4, "time", Kind::Time},
    {Target::Playback, 6, 8, "rate", Kind::Rate},
    {Target::Playback, 7, 4, "time", Kind::Time},
    {Target::Playback, 7, 8, "rate", Kind::Rate},
};

std::uint64_t LittleEndian(const Request &request, std::size_t offset, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = width; i-- > 0;)
        value = value << 8 | request.record.at(offset + i);
    return value;
}

std::uint32_t Word(const Request &request, std::size_t offset) {
    return static_cast<std::uint32_t>(LittleEndian(request, offset, 4));
}

double Double(const Request &request, std::size_t offset) {
    const std::uint64_t bits = LittleEndian(request, offset, 8);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::string PidList(const Request &request, std::size_t offset) {
    std::string list;
    for (std::size_t i = 0; i < Word(request, offset); ++i) {
        const std::uint32_t pid = Word(request, offset + 4 + 4 * i);
        list += (i == 0 ? "" : " ") + (pid == 0 ? std::string("0x0") : PidText(pid));
    }
    return list;
}

std::string ValueText(const Request &request, const Field &field) {
    switch (field.kind) {
        case Kind::Number:
            return std::to_string(Word(request, field.offset));
        case Kind::Pid:
            return PidText(Word(request, field.offset));
        case Kind::Time:
            return TimeText(Word(request, field.offset));
        case Kind::Rate:
            return RateText(Double(request, field.offset));
        case Kind::PidList:
            return PidList(request, field.offset);
        case Kind::Text:
            break;
    }
    return reinterpret_cast<const char *>(&request.record.at(field.offset));
}

}  // namespace

std::string RequestText(const Request &request) {
    constexpr std::size_t kNameWidth = 24;
    std::string text = CommandName(request.target, request.command);
    const char *separator = "";
    for (const Field &field : kFields) {
        if (field.target != request.target || field.command != request.command)
            continue;
        text.resize(std::max(text.size(), kNameWidth), ' ');
        text += std::string(separator) + field.name + " " + ValueText(request, field);
        separator = ", ";
    }
    return text;
}

}  // namespace tool
