/// @file
/// Stream time of a recording that is too large to be read as a whole.
#ifndef TVDESKTOP_PLAYER_PCRSAMPLES_H
#define TVDESKTOP_PLAYER_PCRSAMPLES_H

#include <cstdint>
#include <optional>
#include <vector>

#include "ts/PacketReader.h"
#include "ts/TimeIndex.h"

namespace tvdesktop {

/// A part of a recording whose time is counted by one PID.
struct ClockPart {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint16_t pid = ts::kNullPid;
};

struct PcrSamples {
    std::vector<ts::TimePoint> points;  ///< in order, without stream times
    std::int64_t longestStep = 0;       ///< for StreamClock; a longer one is a jump
};

/// @return the first PCR of a PID at or after a place; nothing when none is near or before `end`
std::optional<ts::TimePoint> FirstPcr(ts::PacketReader &reader, std::uint16_t pid,
                                      std::uint64_t from, std::uint64_t end);

/// Reads PCRs at about 500 places, more around jumps and at both ends of every part; at most about
/// 1,000 places and four for each part. Time between two samples is taken for continuous when it is
/// at most four times as long as it mostly is, or at most ten seconds. Where it is not, the place
/// is searched for to within a MiB.
PcrSamples SamplePcrs(ts::PacketReader &reader, const std::vector<ClockPart> &parts);

/// @return the place in the middle of two packets, at which a packet begins when all are whole
inline std::uint64_t MiddleOf(std::uint64_t from, std::uint64_t to) {
    return from + (to - from) / 2 / ts::kPacketSize * ts::kPacketSize;
}

}  // namespace tvdesktop

#endif
