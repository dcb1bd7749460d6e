/// @file
/// The file that a playback reads: stream time, channel stretches, and where decoding can begin.
#ifndef TVDESKTOP_PLAYER_RECORDING_H
#define TVDESKTOP_PLAYER_RECORDING_H

#include <TVTypes.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "player/PesUnit.h"
#include "ts/ChannelLog.h"
#include "ts/PacketReader.h"
#include "ts/StreamClock.h"
#include "ts/TimeIndex.h"
#include "TvDesktop.h"

namespace tvdesktop {

/// A recording or a timeshift buffer, open for reading, possibly still being written.
///
/// Stream time comes from the PCRs of the file itself, along the PCR PID of each stretch, by the
/// rule of ts::StreamClock that the recorder follows too. About one PCR per second is known, and
/// every place is found from the one before it, with what is read there.
///
/// Those PCRs come from the side file's index as far as it agrees with the recording: the first one
/// is the first of the recording and the last one is where the index has it, else the last that is;
/// what a search reads must lead from each point to the next. An index that does not agree there is
/// left out altogether. What no index describes is read, when it is more than 64 MiB in samples.
///
/// The stretches are those of the side file; a recording without one has a single stretch that is
/// made from the first service whose PMT it carries. Stretches only ever grow in number, and their
/// records stay where they are until the object dies.
///
/// Times are milliseconds of stream time. Thread-bound.
class Recording {
  public:
    /// @return false when `path` is not a readable regular file
    bool Open(const std::string &path);

    /// Takes in what was appended to the file and to its side file.
    /// @return false when the file cannot be read, or became shorter than what was read from it
    bool Follow();

    /// @return whether a recorder holds the file; it locks what it writes
    bool IsBeingWritten() const;

    /// @return false while no PCR was found
    bool HasStreamTime() const { return !m_index.Points().empty(); }
    double Duration() const { return ts::ToMilliseconds(m_clock.Ticks()); }
    TimeSource TimesFrom() const { return m_timesFrom; }

    std::size_t StretchCount() const { return m_reached; }
    double StretchBegin(std::size_t stretch) const { return m_begins[stretch]; }
    /// @return the record at a time, null while none is known; a time before the first stretch has
    ///         the first one's, a time past the end the last one's
    TvChannelInfo *InfoAt(double time);
    const TvChannelInfo &InfoOf(std::size_t stretch) const { return m_stretches[stretch].info; }

    /// @param forward  which of two stretches a border belongs to: the later one when playing
    ///                 forward, the earlier one when playing back from there
    std::size_t StretchAt(double time, bool forward) const;

    /// @return the time of the first unit start on `pid` between `from` and `to` (both included) in
    ///         a stretch; reads at most 64 MiB for it
    std::optional<double> FindUnit(UnitKind kind, int pid, std::size_t stretch, double from,
                                   double to);

  private:
    /// What is looked for, and in which bytes.
    struct UnitQuery {
        UnitKind kind;
        int pid;
        double from, to;
        std::uint64_t begin, end;
    };
    struct UnitResult {
        bool indexAgrees;
        std::optional<double> time;
    };

    void LearnStretches(std::uint64_t size);
    void AdoptServiceFromPmt(std::uint64_t size);
    void CatchUp(std::uint64_t size);
    void TakeIndex(std::uint64_t size);
    std::size_t CountAgreeing(std::uint64_t size);
    bool Holds(const ts::TimePoint &point);
    bool IsFirstPcr(const ts::TimePoint &point);
    void TakeSamples(std::uint64_t size);
    void TakePoint(ts::TimePoint point, std::int64_t longestStep);
    void ContinueAt(std::uint64_t offset);
    void ReadTo(std::uint64_t size);
    void Pass(const std::uint8_t *packet, std::uint64_t offset);
    void ReachStretches(std::uint64_t offset);
    void ReachStretch();
    void ReadAnew();
    void Narrow(double time);
    const ts::TimePoint *PointBefore(const UnitQuery &query) const;
    UnitResult Search(const UnitQuery &query);
    std::size_t StretchOf(std::uint64_t offset) const;

    std::string m_path;
    FileDescriptor m_lock;      ///< asks for the recorder's lock
    ts::PacketReader m_tail;    ///< continues at the end of what is known
    ts::PacketReader m_search;  ///< jumps
    ts::StreamClock m_clock;
    ts::TimeIndex m_index;
    TimeSource m_timesFrom = TimeSource::None;
    std::uint64_t m_end = 0;  ///< end of the last packet whose time is known

    ts::ChannelLogReader m_sideFile;
    ts::ChannelLog m_log;  ///< what the side file has and the recording not yet
    bool m_hasWrongIndex = false;
    bool m_hasIndexed = false;                   ///< some points are the side file's
    std::deque<ts::ChannelStretch> m_stretches;  ///< a deque never moves what it holds
    std::vector<double> m_begins;                ///< of the stretches whose first byte is known
    std::size_t m_reached = 0;
    bool m_hasAdopted = false;  ///< its first stretch is not the side file's
    std::uint64_t m_seenSize = 0;
    std::uint64_t m_nextScan = 1;  ///< size from which on a PMT is looked for again
};

}  // namespace tvdesktop

#endif
