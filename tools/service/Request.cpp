#include "service/Request.h"

#include <cstring>

#include "Failure.h"

namespace tool {

moxpvr::TextField PathField(const std::string &path) {
    moxpvr::TextField field;
    if (!field.Set(path))
        throw Failure("The path '" + path + "' is longer than " +
                      std::to_string(moxpvr::kTextFieldSize - 1) + " bytes.");
    return field;
}

Request ChannelInfoRequest(const TvChannelInfo &info) {
    using Record = recorder::SetChannelInfoProperty;
    Request request(Record{});
    static_assert(Record::PlatformRecord() + sizeof info == moxpvr::EncodedSize(Record{}));
    std::memcpy(request.record.data() + Record::PlatformRecord(), &info, sizeof info);
    return request;
}

Request UpdateRequest(const std::vector<std::uint32_t> &pids) {
    recorder::UpdateSi update;
    for (const std::uint32_t pid : pids) {
        if (!update.pids.Add(pid))
            throw Failure("The service has more than " +
                          std::to_string(moxpvr::PidList::Capacity()) + " streams.");
    }
    return update;
}

}  // namespace tool
