/// @file
/// One recording from its start to its end, as the recorder's thread does it.
#ifndef TVDESKTOP_RECORDER_RECORDINGSESSION_H
#define TVDESKTOP_RECORDER_RECORDINGSESSION_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recorder/BlockSource.h"
#include "recorder/RecordingSink.h"
#include "recorder/StreamSelection.h"
#include "ts/PacketFilter.h"
#include "ts/ServiceWatch.h"
#include "ts/StreamClock.h"
#include "ts/TimeIndex.h"
#include "TvDesktop.h"

namespace tvdesktop {

/// Takes blocks from the source, compacts the kept packets in place and writes them with one call
/// per block; paced by the PCR it goes from one due PCR to the next and writes at least every half
/// second of stream time.
///
/// Threads: belongs to the recorder's thread once that runs.
class RecordingSession {
  public:
    using Clock = std::chrono::steady_clock;

    enum class Next {
        More,      ///< call Advance again
        AtTime,    ///< not before WakeTime
        AtSource,  ///< not before the source can be read
        AtChange,  ///< not before TakeChange
        Ended,     ///< the source is at its end, or the limit is reached
        SourceFailed,
        SinkFailed,
    };

    /// @param speed  times stream time; 0: unpaced
    RecordingSession(double speed, RecordingSink::WaitForRoom waitForRoom);

    /// @return kRecorderOk, kRecorderSourceFailed or kRecorderSinkFailed; ErrorText holds the
    /// reason
    RecorderCode Open(const std::string &source, const std::string &sink);

    /// Programs what to keep from the next packet on.
    void Select(const StreamSelection &selection);
    /// Notes channel information from the next packet on; what is kept so far is written first.
    /// @return false when writing failed
    bool AddStretch(const TvChannelInfo &info);
    /// @param milliseconds  stream time after which the recording ends; 0 or less: none
    void LimitTo(int milliseconds) { m_limitMs = milliseconds; }
    /// Follows what the source says of a service from the next packet on; nothing: no longer.
    void Watch(const std::optional<Service> &known);
    /// @return the change that the last packet has completed; none is told after Finish
    ServiceChange TakeChange();
    /// The buffer continues as a recording of another name; what is kept so far is written first.
    RecorderCode SwapTo(const std::string &path);

    /// Records the next piece.
    Next Advance(Clock::time_point now);
    /// Begins to count time anew after a pause.
    void RestartPacing() { m_pacingStart.reset(); }
    /// Writes what is kept so far. @return false when writing failed
    bool Flush();
    /// Takes the rest of what was read, then brings everything to the disk and closes.
    bool Finish();

    bool WritesFile() const { return m_sink.IsRegular(); }
    Clock::time_point WakeTime() const { return m_wakeTime; }
    int SourceDescriptor() const { return m_source.Descriptor(); }
    std::int64_t PositionMs() const { return m_recorded.Milliseconds(); }
    std::uint64_t Size() const { return m_sink.Size(); }
    RecordingReport Report() const;

    /// What the recording failed of, for a user, and the system's reason (0: the data is the
    /// reason).
    const std::string &ErrorText() const { return m_errorText; }
    int ErrorReason() const { return m_errorReason; }
    /// What a swap failed of.
    const std::string &SwapProblem() const { return m_sink.Problem(); }

  private:
    bool IsPaced() const { return m_speed > 0; }
    bool HasRoom() const { return m_filled < m_block.size(); }
    Next Fail(Next what, const std::string &text, int reason);
    bool FailAtSink();
    Next Filter(Clock::time_point now, bool atEnd);
    Next ReadMore();
    bool IsNoTransportStream() const;
    bool LacksStreamTime() const;
    bool IsDue(const std::uint8_t *packet, Clock::time_point now);
    void CountRecorded(const std::uint8_t *packet);
    bool FlushWithIndex();

    const double m_speed;
    const RecordingSink::WaitForRoom m_waitForRoom;
    std::string m_sourceName;
    BlockSource m_source;
    RecordingSink m_sink;

    std::vector<std::uint8_t> m_block;
    std::size_t m_filled = 0;
    ts::PacketFilter m_filter;
    ts::PacketFilter::Result m_done;  ///< how far the block is filtered
    ts::PidTable m_keep;
    bool m_sourceEnded = false;
    bool m_hasPackets = false;
    std::uint64_t m_bytesRead = 0;

    std::optional<ts::ServiceWatch> m_watch;
    std::optional<ServiceChange> m_change;  ///< not taken yet: no packet after it was looked at

    RecordingReport m_report;
    ts::StreamClock m_recorded;  ///< time of what is recorded
    ts::TimeIndex m_index;       ///< of it, as far as the sink does not have it yet
    int m_limitMs = 0;
    bool m_limitReached = false;

    ts::StreamClock m_passed;  ///< time of the source, recorded or not; paces
    /// Paces from its first PCR on; until then the earlier PID does, so that the source never runs
    /// away between two services.
    std::uint16_t m_pacingPid = ts::kNullPid;
    struct PacingStart {
        Clock::time_point time;
        std::int64_t ticks;
    };
    std::optional<PacingStart> m_pacingStart;
    std::int64_t m_flushedTicks = 0;
    Clock::time_point m_wakeTime;

    std::string m_errorText;
    int m_errorReason = 0;
};

}  // namespace tvdesktop

#endif
