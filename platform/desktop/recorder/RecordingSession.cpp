#include "recorder/RecordingSession.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "player/PesUnit.h"

namespace tvdesktop {

namespace {

constexpr std::size_t kBlockSize = (1 << 20) / ts::kPacketSize * ts::kPacketSize;
constexpr std::uint64_t kLongestSearch = 4 * kBlockSize;
constexpr std::int64_t kLongestUnflushed = ts::kPcrHz / 2;

}  // namespace

RecordingSession::RecordingSession(double speed, RecordingSink::WaitForRoom waitForRoom)
    : m_speed(speed), m_waitForRoom(std::move(waitForRoom)), m_block(kBlockSize) {}

RecorderCode RecordingSession::Open(const std::string &source, const std::string &sink) {
    m_sourceName = source;
    if (!m_source.Open(source)) {
        Fail(Next::SourceFailed, "cannot read " + source + ": " + std::strerror(errno), errno);
        return kRecorderSourceFailed;
    }
    if (m_sink.Open(sink, m_source.Descriptor()))
        return kRecorderOk;
    FailAtSink();
    return kRecorderSinkFailed;
}

void RecordingSession::Select(const StreamSelection &selection) {
    m_keep = selection.Table();
    // Between two services no clock is programmed: the last one continues until the next is known.
    if (const auto pid = selection.ClockPid()) {
        m_recorded.FollowPid(*pid);
        m_pacingPid = *pid;
    }
}

bool RecordingSession::AddStretch(const TvChannelInfo &info) {
    if (!FlushWithIndex())
        return false;
    return m_sink.AddStretch(m_recorded.Milliseconds(), info) || FailAtSink();
}

void RecordingSession::Watch(const std::optional<Service> &known) {
    m_change.reset();
    m_watch.reset();
    if (known)
        m_watch.emplace(*known);
}

ServiceChange RecordingSession::TakeChange() {
    ServiceChange change = std::exchange(m_change, std::nullopt).value_or(ServiceChange{});
    change.timeMs = m_recorded.Milliseconds();
    return change;
}

RecorderCode RecordingSession::SwapTo(const std::string &path) {
    return Flush() ? m_sink.SwapTo(path) : kRecorderWriteFailed;
}

RecordingSession::Next RecordingSession::Fail(Next what, const std::string &text, int reason) {
    m_errorText = text;
    m_errorReason = reason;
    return what;
}

/// @return false
bool RecordingSession::FailAtSink() {
    Fail(Next::SinkFailed, m_sink.Problem(), errno);
    return false;
}

RecordingSession::Next RecordingSession::Advance(Clock::time_point now) {
    const Next next = Filter(now, m_sourceEnded);
    if (next != Next::More)
        return next;
    if (IsNoTransportStream())
        return Fail(Next::SourceFailed, m_sourceName + " is not a transport stream", 0);
    if (LacksStreamTime())
        return Fail(Next::SourceFailed, m_sourceName + " has no PCR for what is recorded", 0);
    if (!m_sourceEnded)
        return ReadMore();
    return Flush() ? Next::Ended : Next::SinkFailed;
}

bool RecordingSession::IsNoTransportStream() const {
    return !m_hasPackets && (m_sourceEnded || m_bytesRead > kLongestSearch);
}

bool RecordingSession::LacksStreamTime() const {
    const bool isNeeded = IsPaced() || m_limitMs > 0;
    return isNeeded && !m_report.hasStreamTime &&
           m_report.packets * ts::kPacketSize > kLongestSearch;
}

/// Goes through what was read: to its end, to a PCR that is not due yet, to a change of the service
/// that is followed, or to the limit.
RecordingSession::Next RecordingSession::Filter(Clock::time_point now, bool atEnd) {
    bool isDue = true;
    const auto visit = [&](const std::uint8_t *packet, bool kept) {
        if (m_limitReached || m_change)
            return false;
        isDue = IsDue(packet, now);
        if (!isDue)
            return false;
        if (kept)
            CountRecorded(packet);
        if (m_watch)
            m_change = m_watch->Push(packet);
        return true;
    };
    m_done = m_filter.Run(m_block.data(), m_filled, m_done, m_keep, atEnd, visit);
    m_hasPackets |= m_done.packets > 0;

    if (m_limitReached)
        return Flush() ? Next::Ended : Next::SinkFailed;
    const bool mustFlush =
        IsPaced() ? m_passed.Ticks() - m_flushedTicks >= kLongestUnflushed : !HasRoom();
    if (mustFlush && !Flush())
        return Next::SinkFailed;
    if (m_change)
        return Next::AtChange;
    return isDue ? Next::More : Next::AtTime;
}

/// May be asked again for the same packet: a PCR that is counted twice adds no time.
bool RecordingSession::IsDue(const std::uint8_t *packet, Clock::time_point now) {
    if (!IsPaced())
        return true;
    if (ts::TransportError(packet))
        return true;
    if (ts::Pid(packet) == m_pacingPid && ts::Pcr(packet))
        m_passed.FollowPid(m_pacingPid);
    if (!m_passed.CountFirst(packet))
        return true;
    if (!m_pacingStart)
        m_pacingStart = {now, m_passed.Ticks()};
    const std::chrono::duration<double> passed(
        static_cast<double>(m_passed.Ticks() - m_pacingStart->ticks) /
        static_cast<double>(ts::kPcrHz) / m_speed);
    m_wakeTime = m_pacingStart->time + std::chrono::duration_cast<Clock::duration>(passed);
    return m_wakeTime <= now;
}

void RecordingSession::CountRecorded(const std::uint8_t *packet) {
    ++m_report.packets;
    if (ts::IsScrambled(packet))
        ++m_report.scrambled;
    if (BeginsUnit(packet, UnitKind::Video) || BeginsUnit(packet, UnitKind::Audio))
        ++m_report.units;
    if (!m_recorded.CountFirst(packet))
        return;
    m_index.Count({(m_report.packets - 1) * ts::kPacketSize, m_recorded.Pid(), *ts::Pcr(packet),
                   m_recorded.Ticks()});
    m_report.hasStreamTime = true;
    m_limitReached = m_limitMs > 0 && m_recorded.Milliseconds() >= m_limitMs;
}

RecordingReport RecordingSession::Report() const {
    RecordingReport report = m_report;
    report.transportErrors = m_filter.TransportErrors();
    report.lost = m_filter.LostPackets(m_sourceEnded ? m_filled - m_done.consumed : 0);
    return report;
}

RecordingSession::Next RecordingSession::ReadMore() {
    if (!HasRoom()) {
        if (!Flush())
            return Next::SinkFailed;
        std::memmove(m_block.data(), m_block.data() + m_done.consumed, m_filled - m_done.consumed);
        m_filled -= m_done.consumed;
        m_done.consumed = 0;
    }
    std::size_t count = 0;
    switch (m_source.Read(m_block.data() + m_filled, m_block.size() - m_filled, count)) {
        case BlockSource::Status::Data:
            m_filled += count;
            m_bytesRead += count;
            break;
        case BlockSource::Status::Wait:
            return Flush() ? Next::AtSource : Next::SinkFailed;
        case BlockSource::Status::End:
            m_sourceEnded = true;
            break;
        case BlockSource::Status::Failed:
            return Fail(Next::SourceFailed,
                        "cannot read " + m_sourceName + ": " + std::strerror(errno), errno);
    }
    return Next::More;
}

bool RecordingSession::Flush() {
    m_flushedTicks = m_passed.Ticks();
    const std::size_t kept = std::exchange(m_done.kept, 0);
    if (kept > 0 && !m_sink.Write(m_block.data(), kept, m_waitForRoom))
        return FailAtSink();
    m_sink.AddToIndex(m_index.Take());
    return true;
}

/// Writes what is kept so far, and brings the index up to its end.
bool RecordingSession::FlushWithIndex() {
    m_index.Break();
    return Flush();
}

bool RecordingSession::Finish() {
    Watch(std::nullopt);
    if (!IsPaced() && Filter(Clock::now(), true) == Next::SinkFailed)
        return false;
    if (!FlushWithIndex())
        return false;
    if (!m_errorText.empty() && m_sink.Size() == 0)
        return true;  // nothing to keep
    return m_sink.Close() || FailAtSink();
}

}  // namespace tvdesktop
