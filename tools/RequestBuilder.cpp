#include "RequestBuilder.h"

#include <array>
#include <cstring>

#include "Failure.h"

namespace tool {

namespace {

constexpr std::array<const char *, 20> kRecorderCommands = {
    "?",
    "SetHandle",
    "SetDemuxProperty",
    "SetSinkProperty",
    "SetChannelInfoProperty",
    "SetATVProperty",
    "Start",
    "Pause",
    "Resume",
    "Stop",
    "GetProgress",
    "SwapTS2Record",
    "UpdateSi",
    "GetTSDuration",
    "ClearDemuxInfo",
    "RecordInformPowerChange",
    "GetTunerIndex",
    "SetBackgroundAPID",
    "SetDuration",
    "PreStart",
};

constexpr std::array<const char *, 14> kPlaybackCommands = {
    "?",    "SetHandle", "SetProperty", "Start",     "Pause", "Resume", "TrickPlay",
    "Skip", "Stop",      "GetProgress", "StepFrame", "Ready", "Reset",  "AllPidDescrambled",
};

template <std::size_t Count>
const char *NameIn(const std::array<const char *, Count> &names, std::uint32_t command) {
    return command < Count ? names.at(command) : names.front();
}

}  // namespace

const char *CommandName(Target target, std::uint32_t command) {
    return target == Target::Recorder ? NameIn(kRecorderCommands, command)
                                      : NameIn(kPlaybackCommands, command);
}

RequestBuilder::RequestBuilder(Target target, std::uint32_t command) {
    m_request.target = target;
    m_request.command = command;
    U32(0, command);
}

RequestBuilder &RequestBuilder::F64(std::size_t offset, double value) {
    static_assert(sizeof(double) == sizeof(std::uint64_t));
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return U64(offset, bits);
}

RequestBuilder &RequestBuilder::Text(std::size_t offset, std::size_t width,
                                     const std::string &text) {
    if (text.size() >= width)
        throw Failure("The path '" + text + "' is longer than " + std::to_string(width - 1) +
                      " bytes.");
    std::memcpy(Field(offset, width), text.data(), text.size());
    return *this;
}

RequestBuilder &RequestBuilder::Bytes(std::size_t offset, const void *data, std::size_t count) {
    std::memcpy(Field(offset, count), data, count);
    return *this;
}

RequestBuilder &RequestBuilder::Put(std::size_t offset, std::uint64_t value, std::size_t width) {
    std::uint8_t *field = Field(offset, width);
    for (std::size_t i = 0; i < width; ++i)
        field[i] = static_cast<std::uint8_t>(value >> (8 * i));
    return *this;
}

std::uint8_t *RequestBuilder::Field(std::size_t offset, std::size_t width) {
    if (m_request.record.size() < offset + width)
        m_request.record.resize(offset + width);
    return m_request.record.data() + offset;
}

}  // namespace tool
