#include "player/Recording.h"

#include <algorithm>
#include <utility>

#include "player/LocalClock.h"
#include "player/PcrSamples.h"
#include "system/Files.h"
#include "system/WriterLock.h"
#include "TvDesktop.h"

namespace tvdesktop {

namespace {

using ts::TimePoint;

constexpr std::uint64_t kMiB = 1 << 20;
constexpr std::uint64_t kLongestSearch = 64 * kMiB;
constexpr std::uint64_t kTail = kMiB;  ///< after the last sample
constexpr std::uint64_t kNarrow = 2 * kMiB;

}  // namespace

bool Recording::Open(const std::string &path) {
    m_path = path;
    m_lock = OpenRegularFile(path);
    return m_lock.IsOpen() && m_tail.Open(path) && m_search.Open(path);
}

bool Recording::Follow() {
    // The recorder writes the last packet of a stretch, then the side file's line, then the first
    // packet of the next stretch. With the size taken first, every border below it is known.
    const std::uint64_t size = m_tail.Size();
    if (size < m_end)
        return false;
    LearnStretches(size);
    if (!m_stretches.empty())
        CatchUp(size);
    return m_tail.Error() == 0 && m_search.Error() == 0;
}

bool Recording::IsBeingWritten() const {
    return HasWriter(m_lock.Get());
}

void Recording::LearnStretches(std::uint64_t size) {
    if (size == m_seenSize)
        return;
    m_seenSize = size;
    m_sideFile.Follow(m_path, m_log);
    // A stretch without a packet yet may still be replaced by another one that begins there.
    auto &log = m_log.stretches;
    const auto isReached = [size](const ts::ChannelStretch &one) { return one.offset < size; };
    const auto reached = std::find_if_not(log.begin(), log.end(), isReached);
    for (auto stretch = log.begin(); stretch != reached; ++stretch) {
        const bool isKnown = std::exchange(m_hasAdopted, false);
        if (!isKnown && (m_stretches.empty() || ts::Follows(*stretch, m_stretches.back())))
            m_stretches.push_back(*stretch);
    }
    log.erase(log.begin(), reached);
    if (m_stretches.empty() && size >= m_nextScan)
        AdoptServiceFromPmt(size);
}

void Recording::AdoptServiceFromPmt(std::uint64_t size) {
    const ScanResult scan = ScanServices(m_path);
    if (scan.services.empty()) {
        m_nextScan = size * 2;  // a file that grows without a PMT is not scanned again and again
        return;
    }
    m_stretches.push_back({0, 0, ChannelInfoOf(scan.services.front())});
    m_hasAdopted = true;  // a side file that appears later begins with the stretch that was adopted
}

// --- Stream time ---------------------------------------------------------------------------------

void Recording::CatchUp(std::uint64_t size) {
    TakeIndex(size);
    if (size - m_end > ts::kMostUnindexed)
        TakeSamples(size);
    ReadTo(size);
}

/// Where the recording was followed until here, two points leave something out that need not be
/// read.
void Recording::TakeIndex(std::uint64_t size) {
    auto &index = m_log.index;
    const auto isKnown = [this](const TimePoint &point) { return point.offset < m_end; };
    index.erase(index.begin(), std::find_if_not(index.begin(), index.end(), isKnown));
    if (m_hasWrongIndex)
        index.clear();
    const std::size_t fewest = m_end == 0 ? 1 : 2;
    const std::size_t count = index.size() < fewest ? 0 : CountAgreeing(size);
    if (count < fewest)
        return;
    if (m_timesFrom == TimeSource::None)
        m_timesFrom = TimeSource::Index;
    m_hasIndexed = true;
    for (std::size_t i = 0; i < count; ++i)
        TakePoint(index[i], ts::StreamClock::kLongestStep);
    ContinueAt(index[count - 1].offset + ts::kPacketSize);
    index.erase(index.begin(), index.begin() + static_cast<std::ptrdiff_t>(count));
}

/// @return how many points of the index are in the recording, as far as its first and last tell
std::size_t Recording::CountAgreeing(std::uint64_t size) {
    const auto begin = m_log.index.begin();
    const auto end = std::find_if_not(begin, m_log.index.end(), [&](const TimePoint &point) {
        return point.offset < size && size - point.offset >= ts::kPacketSize &&
               m_stretches[StretchOf(point.offset)].info.pcrPid == point.pid;
    });
    if (begin == end)
        return 0;
    m_hasWrongIndex = m_end == 0 ? !IsFirstPcr(*begin) : !Holds(*begin);
    if (m_hasWrongIndex)
        return 0;
    const auto holds = [this](const TimePoint &point) { return Holds(point); };
    const auto wrong = holds(*std::prev(end)) ? end : std::partition_point(begin, end, holds);
    return static_cast<std::size_t>(wrong - begin);
}

bool Recording::Holds(const TimePoint &point) {
    const std::uint8_t *packet = m_search.At(point.offset);
    return packet != nullptr && !ts::TransportError(packet) && ts::Pid(packet) == point.pid &&
           ts::Pcr(packet) == point.pcr;
}

bool Recording::IsFirstPcr(const TimePoint &point) {
    const auto first = FirstPcr(m_search, point.pid, 0, point.offset + 1);
    return first && first->offset == point.offset && first->pcr == point.pcr;
}

void Recording::TakeSamples(std::uint64_t size) {
    std::vector<ClockPart> parts;
    for (std::uint64_t begin = m_end; begin < size;) {
        const std::size_t stretch = StretchOf(begin);
        const bool isLast = stretch + 1 == m_stretches.size();
        const std::uint64_t end = isLast ? size : std::min(size, m_stretches[stretch + 1].offset);
        parts.push_back({begin, end, m_stretches[stretch].info.pcrPid});
        begin = end;
    }
    const PcrSamples samples = SamplePcrs(m_search, parts);
    for (const TimePoint &point : samples.points)
        TakePoint(point, samples.longestStep);
    m_timesFrom = TimeSource::Samples;
    const std::uint64_t sampled =
        samples.points.empty() ? m_end : samples.points.back().offset + ts::kPacketSize;
    ContinueAt(std::max(sampled, size - kTail - (size - kTail - m_end) % ts::kPacketSize));
}

/// @param point  without its stream time
void Recording::TakePoint(TimePoint point, std::int64_t longestStep) {
    ReachStretches(point.offset);
    m_clock.Advance(point.pcr, longestStep);
    point.ticks = m_clock.Ticks();
    m_index.Add(point);
}

void Recording::ContinueAt(std::uint64_t offset) {
    m_end = offset;
    m_tail.Seek(offset);
}

void Recording::ReadTo(std::uint64_t size) {
    while (m_end + ts::kPacketSize <= size) {
        const std::uint8_t *packet = m_tail.Next();
        if (packet == nullptr)
            break;
        Pass(packet, m_tail.Offset());
        m_end = m_tail.Offset() + ts::kPacketSize;
        if (m_timesFrom == TimeSource::None)
            m_timesFrom = TimeSource::Scan;
    }
}

void Recording::Pass(const std::uint8_t *packet, std::uint64_t offset) {
    ReachStretches(offset);
    if (!ts::TransportError(packet) && m_clock.Count(packet))
        m_index.Count({offset, m_clock.Pid(), *ts::Pcr(packet), m_clock.Ticks()});
}

void Recording::ReachStretches(std::uint64_t offset) {
    while (m_reached < m_stretches.size() &&
           (m_reached == 0 || m_stretches[m_reached].offset <= offset))
        ReachStretch();
}

void Recording::ReachStretch() {
    m_index.Break();
    m_clock.FollowPid(m_stretches[m_reached].info.pcrPid);
    m_begins.push_back(static_cast<double>(m_clock.Milliseconds()));
    ++m_reached;
}

/// Does without the index, which has led astray. What was reached stays reached.
void Recording::ReadAnew() {
    const std::size_t reached = m_reached;
    m_hasWrongIndex = true;
    m_hasIndexed = false;
    m_timesFrom = TimeSource::None;
    m_clock = {};
    m_index.Clear();
    m_begins.clear();
    m_reached = 0;
    const std::uint64_t end = m_end;
    ContinueAt(0);
    CatchUp(end);
    while (m_reached < reached)
        ReachStretch();
}

// --- Places --------------------------------------------------------------------------------------

TvChannelInfo *Recording::InfoAt(double time) {
    if (m_stretches.empty())
        return nullptr;
    return &m_stretches[StretchAt(time, true)].info;
}

std::size_t Recording::StretchAt(double time, bool forward) const {
    const auto after = forward ? std::upper_bound(m_begins.begin(), m_begins.end(), time)
                               : std::lower_bound(m_begins.begin(), m_begins.end(), time);
    return after == m_begins.begin() ? 0 : static_cast<std::size_t>(after - m_begins.begin()) - 1;
}

/// @return the stretch to which a byte belongs, reached or not
std::size_t Recording::StretchOf(std::uint64_t offset) const {
    const auto after = std::upper_bound(
        m_stretches.begin(), m_stretches.end(), offset,
        [](std::uint64_t value, const ts::ChannelStretch &one) { return value < one.offset; });
    return after == m_stretches.begin() ? 0
                                        : static_cast<std::size_t>(after - m_stretches.begin()) - 1;
}

std::optional<double> Recording::FindUnit(UnitKind kind, int pid, std::size_t stretch, double from,
                                          double to) {
    if (stretch >= m_reached)
        return std::nullopt;
    const std::uint64_t begin = stretch == 0 ? 0 : m_stretches[stretch].offset;
    const std::uint64_t end = stretch + 1 < m_reached ? m_stretches[stretch + 1].offset : m_end;
    const UnitQuery query{kind, pid, from, to, begin, end};
    if (m_timesFrom == TimeSource::Samples)
        Narrow(from);
    const UnitResult result = Search(query);
    if (result.indexAgrees)
        return result.time;
    ReadAnew();
    return FindUnit(kind, pid, stretch, from, to);
}

/// Halves the bytes around a time until few enough are left to be read.
void Recording::Narrow(double time) {
    for (;;) {
        const std::size_t next = m_index.FirstAtTime(time);
        if (next == 0 || next == m_index.Points().size())
            return;
        const TimePoint &from = m_index.Points()[next - 1];
        const TimePoint &to = m_index.Points()[next];
        if (to.offset - from.offset <= kNarrow || from.pid != to.pid)
            return;
        auto middle = FirstPcr(m_search, from.pid, MiddleOf(from.offset, to.offset), to.offset);
        if (!middle)
            return;
        const std::int64_t step =
            ts::StreamClock::Step(from.pcr, middle->pcr, to.ticks - from.ticks);
        middle->ticks = from.ticks + step;
        if (step == 0)
            return;  // a jump
        m_index.Insert(*middle);
    }
}

/// @return a point from which on all is read that may be the unit; null: from the first byte on
const TimePoint *Recording::PointBefore(const UnitQuery &query) const {
    const std::size_t after =
        std::max(m_index.FirstAtTime(query.from), m_index.FirstAt(query.begin + 1));
    return after == 0 ? nullptr : &m_index.Points()[after - 1];
}

/// Counts time from a known point on as it was counted when that point was made.
Recording::UnitResult Recording::Search(const UnitQuery &query) {
    const TimePoint *start = PointBefore(query);
    const std::uint64_t startOffset = start != nullptr ? start->offset : 0;
    LocalClock clock(m_index.Points(), start);
    UnitTimes units(query.from, clock.Milliseconds(), startOffset);
    std::size_t stretch = StretchOf(startOffset);
    m_search.Seek(startOffset);
    for (;;) {
        const std::uint8_t *packet = m_search.Next(m_end);
        const std::uint64_t offset = packet != nullptr ? m_search.Offset() : m_end;
        if (offset - startOffset > kLongestSearch)
            return {true, std::nullopt};
        for (; stretch + 1 < m_reached && m_stretches[stretch + 1].offset <= offset; ++stretch) {
        }
        clock.FollowPid(m_stretches[stretch].info.pcrPid);
        if (packet == nullptr || clock.Count(packet, offset)) {
            // Between samples the count may well differ.
            if (!clock.HasMetPoints() && m_hasIndexed && m_timesFrom != TimeSource::Samples)
                return {false, std::nullopt};
            if (const auto time = units.Reach(clock.Milliseconds(), offset))
                return {true, *time <= query.to ? time : std::nullopt};
            if (packet == nullptr || clock.Milliseconds() > query.to || offset >= query.end)
                return {true, std::nullopt};
        }
        if (offset >= query.begin && offset < query.end && ts::Pid(packet) == query.pid &&
            BeginsUnit(packet, query.kind))
            units.Pass(offset);
    }
}

}  // namespace tvdesktop
