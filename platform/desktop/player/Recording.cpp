#include "player/Recording.h"

#include <fcntl.h>

#include <algorithm>

#include "system/Files.h"
#include "system/WriterLock.h"
#include "TvDesktop.h"

namespace tvdesktop {

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
    while (!m_stretches.empty() && m_end + ts::kPacketSize <= size) {
        const std::uint8_t *packet = m_tail.Next();
        if (packet == nullptr)
            break;
        Index(packet, m_tail.Offset());
        m_end = m_tail.Offset() + ts::kPacketSize;
    }
    return m_tail.Error() == 0 && m_search.Error() == 0;
}

bool Recording::IsBeingWritten() const {
    return HasWriter(m_lock.Get());
}

void Recording::LearnStretches(std::uint64_t size) {
    if (size == m_seenSize)
        return;
    m_seenSize = size;
    const std::vector<ts::ChannelStretch> log = ts::ReadChannelLog(m_path);
    // A stretch without a packet yet may still be replaced by another one that begins there.
    for (; m_logged < log.size() && log[m_logged].offset < size; ++m_logged)
        m_stretches.push_back(log[m_logged]);
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
    m_logged = 1;  // a side file that appears later begins with the stretch that was adopted
}

void Recording::Index(const std::uint8_t *packet, std::uint64_t offset) {
    while (m_reached < m_stretches.size() &&
           (m_reached == 0 || m_stretches[m_reached].offset <= offset))
        ReachStretch();
    if (ts::TransportError(packet) || !m_clock.Count(packet))
        return;
    m_points.push_back({static_cast<double>(m_clock.Ticks()) * 1000.0 / ts::kPcrHz, offset});
}

void Recording::ReachStretch() {
    m_clock.FollowPid(m_stretches[m_reached].info.pcrPid);
    m_begins.push_back(static_cast<double>(m_clock.Milliseconds()));
    ++m_reached;
}

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

std::optional<double> Recording::FindUnit(UnitKind kind, int pid, std::size_t stretch, double from,
                                          double to) {
    if (stretch >= m_reached)
        return std::nullopt;
    const std::uint64_t begin = stretch == 0 ? 0 : m_stretches[stretch].offset;
    const std::uint64_t end = stretch + 1 < m_reached ? m_stretches[stretch + 1].offset : m_end;
    m_search.Seek(std::max(begin, OffsetBefore(from)));
    const std::uint64_t last = std::min(end, OffsetAfter(to));
    while (const std::uint8_t *packet = m_search.Next()) {
        if (m_search.Offset() >= last)
            break;
        if (ts::Pid(packet) != pid || !BeginsUnit(packet, kind))
            continue;
        const double time = TimeAt(m_search.Offset());
        if (time >= from)
            return time <= to ? std::optional<double>(time) : std::nullopt;
    }
    return std::nullopt;
}

/// Between two PCRs time runs with the bytes (ISO/IEC 13818-1, 2.4.2.2).
double Recording::TimeAt(std::uint64_t offset) const {
    const auto next = std::upper_bound(
        m_points.begin(), m_points.end(), offset,
        [](std::uint64_t value, const Point &point) { return value < point.offset; });
    if (next == m_points.begin())
        return 0.0;
    const Point &before = *std::prev(next);
    if (next == m_points.end())
        return before.time;
    const double share = static_cast<double>(offset - before.offset) /
                         static_cast<double>(next->offset - before.offset);
    return before.time + share * (next->time - before.time);
}

/// A place before everything that has that time; the stream before the first PCR has its time too.
std::uint64_t Recording::OffsetBefore(double time) const {
    const auto reached =
        std::lower_bound(m_points.begin(), m_points.end(), time,
                         [](const Point &point, double value) { return point.time < value; });
    const bool isFirst = reached == m_points.begin() || std::prev(reached) == m_points.begin();
    return isFirst ? 0 : std::prev(reached)->offset;
}

std::uint64_t Recording::OffsetAfter(double time) const {
    const auto next =
        std::upper_bound(m_points.begin(), m_points.end(), time,
                         [](double value, const Point &point) { return value < point.time; });
    return next == m_points.end() ? m_end : next->offset;
}

}  // namespace tvdesktop
