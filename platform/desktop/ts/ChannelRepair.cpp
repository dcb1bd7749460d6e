// The repair of side files: what the old one holds is checked against the packets, then completed.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "system/Files.h"
#include "ts/ChannelLog.h"
#include "ts/ChannelTable.h"
#include "ts/PacketReader.h"
#include "ts/ServiceScan.h"
#include "ts/StreamClock.h"
#include "ts/StretchFinder.h"
#include "ts/TimeIndex.h"
#include "ts/TsPacket.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

using ts::ChannelStretch;
using ts::FoundStretch;

template <typename Visitor>
void ForEachPacket(ts::PacketReader &reader, Visitor &&visit) {
    reader.Seek(0);
    while (const std::uint8_t *packet = reader.Next())
        visit(packet, reader.Offset());
}

/// Compares the stretches of a side file with the packets, passed in order. Time is counted along
/// what was found, so that a line that was lost makes no line after it wrong.
class Judge {
  public:
    Judge(const std::vector<ChannelStretch> &old, const std::vector<FoundStretch> &found,
          const ts::ChannelTable &channels)
        : m_found(found), m_channels(channels) {
        for (const ChannelStretch &stretch : old)
            m_judged.push_back({stretch, false, std::nullopt});
    }

    void Pass(const std::uint8_t *packet, std::uint64_t offset) {
        Compare(offset);
        if (ts::TransportError(packet))
            return;
        if (!m_channels.OwnersOf(ts::Pid(packet)).empty())
            Decide();
        m_clock.CountFirst(packet);
    }

    /// @param end  end of the last packet
    void Finish(std::uint64_t end) { Compare(end); }

    /// @return those that agree, and in `covered` which of the found stretches they describe from
    ///         the start on
    std::vector<ChannelStretch> Agreeing(std::vector<bool> &covered) const {
        std::vector<ChannelStretch> agreeing;
        covered.assign(m_found.size(), false);
        for (const Judged &judged : m_judged) {
            if (!Agrees(judged))
                continue;
            agreeing.push_back(judged.stretch);
            const auto part = judged.part;
            if (part && (*part == 0 || judged.stretch.offset <= m_found[*part].stretch.offset))
                covered[*part] = true;
        }
        return agreeing;
    }

  private:
    struct Judged {
        ChannelStretch stretch;
        bool hasPlace;                    ///< begins with a packet, at the time there
        std::optional<std::size_t> part;  ///< found stretch of its first packet
    };

    bool Agrees(const Judged &judged) const {
        return judged.hasPlace &&
               (!judged.part ||
                m_channels.Describes(judged.stretch.info, m_found[*judged.part].channel));
    }

    void Compare(std::uint64_t offset) {
        for (; m_entered < m_found.size() && m_found[m_entered].stretch.offset <= offset;
             ++m_entered)
            m_clock.FollowPid(m_found[m_entered].stretch.info.pcrPid);
        for (; m_next < m_judged.size() && m_judged[m_next].stretch.offset <= offset; ++m_next) {
            Judged &judged = m_judged[m_next];
            judged.hasPlace =
                judged.stretch.offset == offset && judged.stretch.timeMs == m_clock.Milliseconds();
        }
    }

    /// A packet of a channel decides what the stretches that began before it must describe.
    void Decide() {
        for (; m_undecided < m_next; ++m_undecided)
            m_judged[m_undecided].part = m_entered - 1;
    }

    const std::vector<FoundStretch> &m_found;
    const ts::ChannelTable &m_channels;
    ts::StreamClock m_clock;
    std::size_t m_entered = 0;  ///< found stretches that have begun
    std::vector<Judged> m_judged;
    std::size_t m_next = 0;       ///< first stretch that is not compared yet
    std::size_t m_undecided = 0;  ///< first stretch without a packet of a channel yet
};

ts::ChannelTable ReadChannels(ts::PacketReader &reader, const std::vector<ChannelStretch> &old) {
    reader.Seek(0);
    ts::ChannelTable channels(ts::ScanTables(reader, std::numeric_limits<std::uint64_t>::max()));
    const bool isComplete = std::all_of(old.begin(), old.end(), [&](const ChannelStretch &stretch) {
        return channels.Unknown(stretch.info).none();
    });
    if (isComplete)
        return channels;
    ts::PidTable present;
    ForEachPacket(reader, [&](const std::uint8_t *packet, std::uint64_t) {
        if (!ts::TransportError(packet))
            present.set(ts::Pid(packet));
    });
    for (const ChannelStretch &stretch : old)
        channels.Learn(stretch.info, present);
    return channels;
}

/// The old stretches that agree with the recording, and the found ones that they do not describe.
std::vector<ChannelStretch> Merge(ts::PacketReader &reader, const std::vector<ChannelStretch> &old,
                                  const std::vector<FoundStretch> &found,
                                  const ts::ChannelTable &channels) {
    Judge judge(old, found, channels);
    ForEachPacket(reader, [&](const std::uint8_t *packet, std::uint64_t offset) {
        judge.Pass(packet, offset);
    });
    judge.Finish(reader.Tell());

    std::vector<bool> covered;
    std::vector<ChannelStretch> merged = judge.Agreeing(covered);
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!covered[i])
            merged.push_back(found[i].stretch);
    }
    std::stable_sort(merged.begin(), merged.end(),
                     [](const ChannelStretch &left, const ChannelStretch &right) {
                         return left.offset < right.offset;
                     });
    return merged;
}

/// The index as a player counts it along the stretches.
std::vector<ts::TimePoint> MakeIndex(ts::PacketReader &reader,
                                     const std::vector<ChannelStretch> &stretches) {
    ts::StreamClock clock;
    ts::TimeIndex index;
    std::size_t reached = 0;
    ForEachPacket(reader, [&](const std::uint8_t *packet, std::uint64_t offset) {
        for (; reached < stretches.size() && (reached == 0 || stretches[reached].offset <= offset);
             ++reached) {
            index.Break();
            clock.FollowPid(stretches[reached].info.pcrPid);
        }
        if (!ts::TransportError(packet) && clock.Count(packet))
            index.Count({offset, clock.Pid(), *ts::Pcr(packet), clock.Ticks()});
    });
    index.Break();
    return index.Take();
}

/// Whether an index is right, and a player reads what it leaves out at the end without samples. Of
/// a recorder that was killed the last lines are missing.
bool IsUsable(const std::vector<ts::TimePoint> &index, const std::vector<ts::TimePoint> &made) {
    const auto isSame = [](const ts::TimePoint &one, const ts::TimePoint &other) {
        return one.offset == other.offset && one.pid == other.pid && one.pcr == other.pcr;
    };
    const std::uint64_t covered = index.empty() ? 0 : index.back().offset;
    return index.size() <= made.size() &&
           std::equal(index.begin(), index.end(), made.begin(), isSame) &&
           (made.empty() || made.back().offset - covered <= ts::kMostUnindexed);
}

bool IsSame(const std::vector<ChannelStretch> &left, const std::vector<ChannelStretch> &right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const ChannelStretch &one, const ChannelStretch &other) {
                          return one.timeMs == other.timeMs && one.offset == other.offset &&
                                 std::memcmp(&one.info, &other.info, sizeof one.info) == 0;
                      });
}

RepairResult Failed(const std::string &error) {
    RepairResult result;
    result.error = error;
    return result;
}

}  // namespace

RepairResult RepairChannelLog(const std::string &recording) {
    using Outcome = RepairResult::Outcome;
    ts::PacketReader reader;
    if (!reader.Open(recording))
        return Failed(CannotRead(recording, errno));
    const std::uint64_t size = reader.Size();
    ts::ChannelLog log;
    if (!ts::ReadChannelLog(recording, log))
        return Failed(CannotRead(ts::ChannelLogPath(recording), errno));
    const std::vector<ChannelStretch> &old = log.stretches;
    const ts::ChannelTable channels = ReadChannels(reader, old);
    ts::StretchFinder finder(channels);
    ForEachPacket(reader, [&](const std::uint8_t *packet, std::uint64_t offset) {
        finder.Pass(packet, offset);
    });
    const std::vector<ChannelStretch> merged = Merge(reader, old, finder.Finish(), channels);
    const std::vector<ts::TimePoint> index = MakeIndex(reader, merged);

    if (reader.Error() != 0)  // a part of the recording proves nothing of the rest
        return Failed(CannotRead(recording, reader.Error()));
    if (reader.Size() != size)
        return {recording + " is still being recorded", Outcome::Nothing, 0};
    if (merged.empty())
        return {};
    if (IsSame(merged, old) && IsUsable(log.index, index))
        return {"", Outcome::Kept, old.size()};
    if (!ts::WriteChannelLog(recording, {merged, index}))
        return Failed("cannot write " + ts::ChannelLogPath(recording) + ": " +
                      std::strerror(errno));
    return {"", Outcome::Rebuilt, merged.size()};
}

}  // namespace tvdesktop
