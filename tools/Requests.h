/// @file
/// The control requests that the tool sends, one function each. Times are milliseconds of stream
/// time, rates are multiples of normal speed.
#ifndef TOOLS_REQUESTS_H
#define TOOLS_REQUESTS_H

#include <TVTypes.h>

#include <cstdint>
#include <string>
#include <vector>

#include "RequestBuilder.h"

namespace tool {

inline constexpr std::uint32_t kNoPid = 0xFFFFFFFF;    ///< no such stream
inline constexpr std::uint32_t kKeepPid = 0xFFFFFFFE;  ///< leave this PID as it is

/// The PIDs of command 2.
struct DemuxPids {
    std::uint32_t audio = kNoPid;
    std::uint32_t video = kNoPid;
    std::uint32_t pcr = kNoPid;
    std::uint32_t audioDescription = kNoPid;
};

/// Where a recorder writes.
struct Sink {
    std::string path;  ///< at most 255 bytes
    bool isTimeshift = false;
};

namespace recorder {

Request SetHandle(std::uint8_t handle, std::uint64_t serviceId);
Request SetDemuxProperty(const DemuxPids &pids);
Request SetSinkProperty(const Sink &sink);
Request SetChannelInfoProperty(const TvChannelInfo &info);
Request Start();
Request Stop();
Request GetProgress();
Request SwapTS2Record(const Sink &sink);
Request UpdateSi(const std::vector<std::uint32_t> &pids);
Request ClearDemuxInfo();
Request SetDuration(std::int32_t durationMs);
Request PreStart();

}  // namespace recorder

namespace playback {

Request SetHandle(std::uint8_t handle);
Request SetProperty(const std::string &path, std::int32_t startMs, bool isTimeshift);
Request Start();
Request Pause();
Request Resume();
Request TrickPlay(std::uint32_t timeMs, double rate);
Request Skip(std::int32_t timeMs, double rate);
Request Stop();
Request GetProgress();
Request StepFrame();
Request Reset();

}  // namespace playback

}  // namespace tool

#endif
