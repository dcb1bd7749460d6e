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

namespace tvdesktop {

/// A recording or a timeshift buffer, open for reading, possibly still being written.
///
/// Stream time comes from the PCRs of the file itself, along the PCR PID of each stretch, by the
/// rule of ts::StreamClock that the recorder follows too. Opening reads the file once; after that
/// one point per PCR is known, and every place is found from there.
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
    bool HasStreamTime() const { return !m_points.empty(); }
    double Duration() const { return m_points.empty() ? 0.0 : m_points.back().time; }

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
    ///         a stretch
    std::optional<double> FindUnit(UnitKind kind, int pid, std::size_t stretch, double from,
                                   double to);

  private:
    struct Point {
        double time;
        std::uint64_t offset;
    };

    void LearnStretches(std::uint64_t size);
    void AdoptServiceFromPmt(std::uint64_t size);
    void Index(const std::uint8_t *packet, std::uint64_t offset);
    void ReachStretch();
    double TimeAt(std::uint64_t offset) const;
    std::uint64_t OffsetBefore(double time) const;
    std::uint64_t OffsetAfter(double time) const;

    std::string m_path;
    FileDescriptor m_lock;      ///< asks for the recorder's lock
    ts::PacketReader m_tail;    ///< continues at the end of what is indexed
    ts::PacketReader m_search;  ///< jumps
    ts::StreamClock m_clock;
    std::vector<Point> m_points;  ///< one per PCR; times may repeat, offsets rise
    std::uint64_t m_end = 0;      ///< end of the last packet that is indexed

    std::deque<ts::ChannelStretch> m_stretches;  ///< a deque never moves what it holds
    std::vector<double> m_begins;                ///< of the stretches whose first byte is indexed
    std::size_t m_reached = 0;
    std::size_t m_logged = 0;  ///< entries of the side file that are taken in
    std::uint64_t m_seenSize = 0;
    std::uint64_t m_nextScan = 1;  ///< size from which on a PMT is looked for again
};

}  // namespace tvdesktop

#endif
