#include "service/Request.h"

#include <cstring>

#include "Failure.h"

namespace tool {

namespace {

/// Channel information byte by byte, those included that no field of the protocol names.
struct WholeChannelInfo {
    using Named = recorder::SetChannelInfoProperty;
    static constexpr recorder::Command Number() { return Named::Number(); }
    static constexpr const char *Name() { return Named::Name(); }

    std::uint8_t bytes[sizeof(TvChannelInfo)];

    template <typename Self, typename Visitor>
    static constexpr void Fields(Self &self, Visitor &&visit) {
        std::size_t offset = Named::PlatformRecord();
        for (auto &byte : self.bytes)
            visit(moxpvr::Field{offset++, "byte", moxpvr::Meaning::Number}, byte);
    }
};
static_assert(moxpvr::EncodedSize(WholeChannelInfo{}) ==
              moxpvr::EncodedSize(WholeChannelInfo::Named{}));

}  // namespace

moxpvr::TextField PathField(const std::string &path) {
    moxpvr::TextField field;
    if (!field.Set(path))
        throw Failure("cannot use the path " + path + ": it is longer than " +
                      std::to_string(moxpvr::kTextFieldSize - 1) + " bytes; give a shorter one");
    return field;
}

Request ChannelInfoRequest(const TvChannelInfo &info) {
    WholeChannelInfo whole{};
    std::memcpy(whole.bytes, &info, sizeof info);
    return whole;
}

Request UpdateRequest(const std::vector<std::uint32_t> &pids) {
    recorder::UpdateSi update;
    for (const std::uint32_t pid : pids) {
        if (!update.pids.Add(pid))
            throw Failure("cannot record the service: it has more than " +
                          std::to_string(moxpvr::PidList::Capacity()) + " streams");
    }
    return update;
}

}  // namespace tool
