#include "text/ChangeText.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "text/TimeText.h"

namespace tool {

namespace {

using tvdesktop::StreamKind;

struct Role {
    const char *name;
    StreamKind kind;
};
constexpr Role kRoles[] = {{"video", StreamKind::Video},
                           {"audio", StreamKind::Audio},
                           {"audio description", StreamKind::AudioDescription}};

/// What a service is recorded with, by PID: the first stream of each kind by its name.
struct NamedPid {
    std::string name;
    std::uint16_t pid = 0;
    std::string codec;
};

NamedPid PidOf(const Role &role, const tvdesktop::Service &service) {
    const tvdesktop::ElementaryStream *stream = service.First(role.kind);
    return stream != nullptr ? NamedPid{role.name, stream->pid, stream->codec}
                             : NamedPid{role.name, 0, ""};
}

std::vector<NamedPid> NamedPids(const tvdesktop::Service &service) {
    std::vector<NamedPid> pids;
    for (const Role &role : kRoles)
        pids.push_back(PidOf(role, service));
    pids.push_back({"PCR", service.pcrPid, ""});
    pids.push_back({"PMT", service.pmtPid, ""});
    return pids;
}

std::string DifferenceText(const NamedPid &before, const NamedPid &after) {
    if (before.pid != after.pid)
        return before.name + ' ' + PidText(before.pid) + " -> " + PidText(after.pid);
    return before.codec != after.codec ? before.name + ' ' + before.codec + " -> " + after.codec
                                       : "";
}

/// @return streams of `service` that `other` does not have, and that no role names
std::vector<std::uint16_t> OthersOnlyIn(const tvdesktop::Service &service,
                                        const tvdesktop::Service &other) {
    std::vector<std::uint16_t> pids;
    for (const tvdesktop::ElementaryStream &stream : service.streams) {
        const auto isThis = [&stream](const auto &entry) { return entry.pid == stream.pid; };
        const std::vector<NamedPid> named = NamedPids(service);
        if (std::none_of(named.begin(), named.end(), isThis) &&
            std::none_of(other.streams.begin(), other.streams.end(), isThis))
            pids.push_back(stream.pid);
    }
    return pids;
}

}  // namespace

std::string ChangeText(const tvdesktop::Service &before, const tvdesktop::Service &after) {
    std::string text;
    const auto add = [&text](const std::string &part) {
        text += (text.empty() || part.empty() ? "" : ", ") + part;
    };
    const std::vector<NamedPid> old = NamedPids(before);
    const std::vector<NamedPid> now = NamedPids(after);
    for (std::size_t i = 0; i < now.size(); ++i)
        add(DifferenceText(old[i], now[i]));
    for (const std::uint16_t pid : OthersOnlyIn(after, before))
        add(PidText(pid) + " added");
    for (const std::uint16_t pid : OthersOnlyIn(before, after))
        add(PidText(pid) + " removed");
    return text;
}

}  // namespace tool
