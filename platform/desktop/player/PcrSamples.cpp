#include "player/PcrSamples.h"

#include <algorithm>
#include <limits>

#include "ts/StreamClock.h"

namespace tvdesktop {

namespace {

using ts::TimePoint;

constexpr std::uint64_t kMiB = 1 << 20;
constexpr std::uint64_t kPlaces = 512;
constexpr std::uint64_t kShortestSpacing = 4 * kMiB;
constexpr int kMostSplits = 512;
constexpr std::uint64_t kShortestSplit = kMiB;

/// In a stream of 80 Mbit/s the PCRs, at most 100 ms apart (ETSI TS 101 154), are nearer.
constexpr std::uint64_t kLongestGap = kMiB;

constexpr std::int64_t kMostVariation = 4;  ///< of the rate, from one sample to the next

std::optional<TimePoint> NextPcr(ts::PacketReader &reader, std::uint16_t pid, std::uint64_t end) {
    while (const std::uint8_t *packet = reader.Next(end)) {
        if (ts::TransportError(packet) || ts::Pid(packet) != pid)
            continue;
        if (const auto pcr = ts::Pcr(packet))
            return TimePoint{reader.Offset(), pid, *pcr, 0};
    }
    return std::nullopt;
}

std::optional<TimePoint> LastPcr(ts::PacketReader &reader, const ClockPart &part) {
    const std::uint64_t whole =
        (part.end - part.begin) / ts::kPacketSize * ts::kPacketSize + part.begin;
    const std::uint64_t gap = kLongestGap / ts::kPacketSize * ts::kPacketSize;
    reader.Seek(whole - part.begin > gap ? whole - gap : part.begin);
    std::optional<TimePoint> last;
    while (const auto next = NextPcr(reader, part.pid, part.end))
        last = next;
    return last;
}

std::int64_t TimeBetween(const TimePoint &from, const TimePoint &to) {
    return ts::StreamClock::Step(from.pcr, to.pcr, std::numeric_limits<std::int64_t>::max());
}

class Sampler {
  public:
    Sampler(ts::PacketReader &reader, const std::vector<ClockPart> &parts) : m_reader(reader) {
        const std::uint64_t size = parts.back().end - parts.front().begin;
        m_spacing = std::max(size / kPlaces, kShortestSpacing);
        m_spacing -= m_spacing % ts::kPacketSize;
    }

    void Spread(const ClockPart &part) {
        for (std::uint64_t place = part.begin; place < part.end; place += m_spacing)
            Append(FirstPcr(m_reader, part.pid, place, part.end));
        Append(LastPcr(m_reader, part));
    }

    PcrSamples Split() {
        PcrSamples samples;
        m_longestStep = LongestStep();
        for (const TimePoint &point : m_points) {
            if (!samples.points.empty())
                SplitBetween(samples.points.back(), point, samples.points);
            samples.points.push_back(point);
        }
        samples.longestStep = m_longestStep;
        return samples;
    }

  private:
    void Append(const std::optional<TimePoint> &point) {
        if (point && (m_points.empty() || point->offset > m_points.back().offset))
            m_points.push_back(*point);
    }

    std::int64_t LongestStep() const {
        std::vector<std::int64_t> steps;
        for (std::size_t i = 1; i < m_points.size(); ++i) {
            if (m_points[i].offset - m_points[i - 1].offset >= m_spacing / 2)
                steps.push_back(TimeBetween(m_points[i - 1], m_points[i]));
        }
        if (steps.empty())
            return ts::StreamClock::kLongestStep;
        const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
        std::nth_element(steps.begin(), middle, steps.end());
        return std::max(kMostVariation * *middle, ts::StreamClock::kLongestStep);
    }

    void SplitBetween(TimePoint from, const TimePoint &to, std::vector<TimePoint> &points) {
        if (from.pid != to.pid || TimeBetween(from, to) <= m_longestStep ||
            to.offset - from.offset <= kShortestSplit || m_splits == kMostSplits)
            return;
        ++m_splits;
        const auto middle =
            FirstPcr(m_reader, from.pid, MiddleOf(from.offset, to.offset), to.offset);
        if (!middle)
            return;
        SplitBetween(from, *middle, points);
        points.push_back(*middle);
        SplitBetween(*middle, to, points);
    }

    ts::PacketReader &m_reader;
    std::uint64_t m_spacing = 0;
    std::int64_t m_longestStep = 0;
    int m_splits = 0;
    std::vector<TimePoint> m_points;
};

}  // namespace

std::optional<TimePoint> FirstPcr(ts::PacketReader &reader, std::uint16_t pid, std::uint64_t from,
                                  std::uint64_t end) {
    reader.Seek(from);
    return NextPcr(reader, pid, std::min(end, from + kLongestGap));
}

PcrSamples SamplePcrs(ts::PacketReader &reader, const std::vector<ClockPart> &parts) {
    Sampler sampler(reader, parts);
    for (const ClockPart &part : parts)
        sampler.Spread(part);
    return sampler.Split();
}

}  // namespace tvdesktop
