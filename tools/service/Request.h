/// @file
/// Control requests of any command, as the tool sends, keeps and shows them.
#ifndef TOOLS_SERVICE_REQUEST_H
#define TOOLS_SERVICE_REQUEST_H

#include <MoxPvrProtocol.h>
#include <TVTypes.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

namespace recorder = moxpvr::recorder;
namespace playback = moxpvr::playback;

enum class Target { Recorder, Playback };

constexpr Target TargetOf(recorder::Command /*command*/) {
    return Target::Recorder;
}
constexpr Target TargetOf(playback::Command /*command*/) {
    return Target::Playback;
}

/// One control request, ready to be sent as hexadecimal text. Made of any request of the protocol:
/// `service.Do(recorder::Start{})`.
struct Request {
    template <typename Record, typename = decltype(Record::Number())>
    Request(const Record &fields)  // NOLINT(google-explicit-constructor): stands in for the record
        : target(TargetOf(Record::Number())),
          command(static_cast<std::uint32_t>(Record::Number())),
          name(Record::Name()),
          record(moxpvr::EncodeBytes(fields)) {}

    Target target;
    std::uint32_t command;
    const char *name;
    std::vector<std::uint8_t> record;  ///< the command word included
};

/// @return a path as records carry it
/// @throws Failure when it is longer than 255 bytes; a path is never cut
moxpvr::TextField PathField(const std::string &path);

/// @return the request that hands a platform's record over, every byte of it
Request ChannelInfoRequest(const TvChannelInfo &info);

/// @return the request that names these PIDs
Request UpdateRequest(const std::vector<std::uint32_t> &pids);

}  // namespace tool

#endif
