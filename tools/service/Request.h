/// @file
/// Control requests of any command, as the tool sends, keeps and shows them.
#ifndef TOOLS_SERVICE_REQUEST_H
#define TOOLS_SERVICE_REQUEST_H

#include <MoxPvrProtocol.h>
#include <TVTypes.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tool {

namespace recorder = moxpvr::recorder;
namespace playback = moxpvr::playback;

enum class Side { Recorder, Playback };

constexpr Side SideOf(recorder::Command /*command*/) {
    return Side::Recorder;
}
constexpr Side SideOf(playback::Command /*command*/) {
    return Side::Playback;
}

/// One control request, ready to be sent. Made of any request of the protocol:
/// `pvr.Do(recorder::Start{})`.
struct Request {
    template <typename Record, typename = decltype(Record::Number())>
    Request(const Record &record)  // NOLINT(google-explicit-constructor): used as the record
        : side(SideOf(Record::Number())),
          command(static_cast<std::uint32_t>(Record::Number())),
          name(Record::Name()),
          text(moxpvr::RequestText(record).text()) {}
    /// One that came as text, of a command that may be unknown.
    /// @param requestName  outlives the request
    Request(Side requestSide, std::uint32_t number, const char *requestName, std::string hex)
        : side(requestSide), command(number), name(requestName), text(std::move(hex)) {}

    Side side;
    std::uint32_t command;
    const char *name;
    std::string text;  ///< hexadecimal, the command word included
};

struct Reply {
    std::uint32_t result = 0;
    std::string text;  ///< hexadecimal; empty when the command gives no reply
};

/// Decodes the text of a request or a reply.
/// @return false when it does not hold the record, which then stays as it was
template <typename Record>
bool DecodeText(const std::string &text, Record &record) {
    return moxpvr::DecodeText(reinterpret_cast<const unsigned char *>(text.data()), text.size(),
                              record);
}

/// @return a path as records carry it
/// @throws Failure when it is longer than 255 bytes; a path is never cut
moxpvr::TextField PathField(const std::string &path);

/// @return the request that hands a platform's record over, every byte of it
Request ChannelInfoRequest(const TvChannelInfo &info);

/// @return the request that names these PIDs
Request UpdateRequest(const std::vector<std::uint32_t> &pids);

}  // namespace tool

#endif
