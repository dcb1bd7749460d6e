/// @file
/// Builds the byte record of one control request.
#ifndef TOOLS_REQUESTBUILDER_H
#define TOOLS_REQUESTBUILDER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

enum class Target { Recorder, Playback };

/// One control request, ready to be sent as hexadecimal text.
struct Request {
    Target target = Target::Recorder;
    std::uint32_t command = 0;
    std::vector<std::uint8_t> record;  ///< the command word included
};

/// @return the operation that a command number stands for, "?" for an unknown number
const char *CommandName(Target target, std::uint32_t command);

/// Places little-endian fields at their documented offsets, counted from the command word. Bytes
/// between the fields are 0. The record grows to hold its last field.
///
/// Threads: thread-bound.
class RequestBuilder {
  public:
    RequestBuilder(Target target, std::uint32_t command);

    RequestBuilder &U8(std::size_t offset, std::uint8_t value) { return Put(offset, value, 1); }
    RequestBuilder &U32(std::size_t offset, std::uint32_t value) { return Put(offset, value, 4); }
    RequestBuilder &U64(std::size_t offset, std::uint64_t value) { return Put(offset, value, 8); }
    RequestBuilder &I32(std::size_t offset, std::int32_t value) {
        return U32(offset, static_cast<std::uint32_t>(value));
    }
    /// IEEE 754 double, 8 bytes.
    RequestBuilder &F64(std::size_t offset, double value);

    /// NUL-terminated text in a field of `width` bytes.
    /// @throws Failure when the text and its NUL do not fit; a path is never cut
    RequestBuilder &Text(std::size_t offset, std::size_t width, const std::string &text);

    /// Copies a platform record as it lies in memory.
    RequestBuilder &Bytes(std::size_t offset, const void *data, std::size_t count);

    Request Done() { return std::move(m_request); }

  private:
    RequestBuilder &Put(std::size_t offset, std::uint64_t value, std::size_t width);
    std::uint8_t *Field(std::size_t offset, std::size_t width);

    Request m_request;
};

}  // namespace tool

#endif
