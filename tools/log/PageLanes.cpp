#include "log/PageLanes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "log/Markup.h"

namespace tool::log {

namespace {

// Sizes in pixels.
constexpr int kTop = 6;
constexpr int kMarkerRow = 30;
constexpr int kLaneRow = 32;
constexpr int kRateRow = 56;
constexpr int kAxisRow = 30;
constexpr int kAxisText = 18;  // of its base line, in its row
constexpr int kBarGap = 4;     // above and below a bar

constexpr double kLeastWidth = 0.0012;   // of a bar, so that it can be seen
constexpr double kMarkerPlaces = 3'000;  // markers of one kind that are nearer are one

struct LaneText {
    const char *name;
    const char *style;
    Lane lane;
    std::optional<Side> side;  // empty for either
};
constexpr std::array<LaneText, 7> kLanes = {
    {{"Recorder", "recorder", Lane::RecorderState, std::nullopt},
     {"Recorded channel", "channel", Lane::Channel, Side::Recorder},
     {"Playback", "playback", Lane::PlaybackState, std::nullopt},
     {"Rate", "rate", Lane::Rate, std::nullopt},
     {"Played channel", "channel", Lane::Channel, Side::Playback},
     {"Picture mute", "mute", Lane::VideoMute, std::nullopt},
     {"Sound mute", "mute", Lane::SoundMute, std::nullopt}}};

struct MarkerRow {
    const char *name;
    const char *shape;  // null for that of the step's kind
    std::function<bool(const Step &)> has;
};
const std::array<MarkerRow, 4> &MarkerRows() {
    static const std::array<MarkerRow, 4> rows = {
        {{"Failures", "failure", [](const Step &step) { return step.isFailure; }},
         {"Requests", nullptr,
          [](const Step &step) {
              return step.kind == StepKind::Request ||
                     (step.kind == StepKind::Operation && step.depth == 0);
          }},
         {"Callbacks", nullptr, [](const Step &step) { return step.kind == StepKind::Callback; }},
         {"Events", nullptr, [](const Step &step) { return step.kind == StepKind::Event; }}}};
    return rows;
}

/// @return how a state looks: at work, held, or at rest
const char *ToneOf(const Stretch &stretch) {
    const auto has = [&](const char *word) {
        return stretch.label.find(word) != std::string::npos;
    };
    if (has("unmuted") || has("ready") || has("stopped"))
        return "rest";
    const bool isMute = stretch.lane == Lane::VideoMute || stretch.lane == Lane::SoundMute;
    return isMute || has("paused") ? "held" : "work";
}

class LanePainter {
  public:
    LanePainter(const Session &session, const PageAxis &axis, const PageStory &story)
        : m_session(session), m_axis(axis), m_story(story) {}

    Picture Paint() {
        for (const MarkerRow &row : MarkerRows())
            PaintMarkers(row);
        for (const LaneText &lane : kLanes)
            PaintLane(lane);
        PaintAxis();
        return {Names(), Rows(), m_absent};
    }

  private:
    /// A step, and how many more of its shape are in the same place.
    struct Marker {
        std::size_t step;
        long long place;
        std::size_t more;
    };

    std::vector<Marker> MarkersOf(const MarkerRow &row) const;
    void PaintMarkers(const MarkerRow &row);
    void PaintMarker(const Marker &marker, const char *rowShape);
    void PaintLane(const LaneText &lane);
    void PaintBar(const LaneText &lane, const Stretch &stretch);
    void PaintRate(const Stretch &stretch, double highest);
    void PaintAxis();
    std::string Tick(const std::string &x, const std::string &text) const;
    void BeginRow(const std::string &name, int height);
    void EndRow(int height);
    std::vector<const Stretch *> StretchesOf(const LaneText &lane) const;
    std::string Title(const std::string &name, const Stretch &stretch) const;
    std::string Title(const Step &step, std::size_t more) const;
    void OpenLink(const std::string &style, const std::string &link, const std::string &title);
    void AppendBox(const char *element, const Stretch &stretch, int top, int height,
                   const char *more);
    void AppendLabel(const Stretch &stretch, int top, int height);
    std::string Names() const;
    std::string Rows() const;

    const Session &m_session;
    const PageAxis &m_axis;
    const PageStory &m_story;
    std::string m_names;
    std::string m_rows;
    std::string m_absent;
    int m_height = kTop;
};

std::string Number(int number) {
    return std::to_string(number);
}

std::string Number(std::size_t number) {
    return std::to_string(number);
}

void LanePainter::BeginRow(const std::string &name, int height) {
    m_names += "<text y=\"" + Number(m_height + height / 2) + "\" x=\"0\">" + name + "</text>\n";
    m_rows += "<g class=\"row\" role=\"group\" aria-label=\"" + name + "\">\n";
}

void LanePainter::EndRow(int height) {
    m_height += height;
    m_rows += "<line class=\"rule\" x1=\"0\" x2=\"100%\" y1=\"" + Number(m_height) + "\" y2=\"" +
              Number(m_height) + "\"/></g>\n";
}

void LanePainter::OpenLink(const std::string &style, const std::string &link,
                           const std::string &title) {
    m_rows +=
        "<a class=\"" + style + "\" href=\"" + link + "\"><title>" + Escaped(title) + "</title>";
}

std::string LanePainter::Title(const Step &step, std::size_t more) const {
    std::string title =
        m_axis.TextOf(step.firstLine) + "  " + TextOf(step.kind).name + " " + step.title;
    if (step.count > 1)
        title += ", " + Grouped(step.count) + " times";
    if (!step.outcome.empty())
        title += ": " + step.outcome;
    if (step.isFailure)
        title += " (failure)";
    return more > 0 ? title + ", and " + Grouped(more) + " more here" : title;
}

/// Markers of one shape in one place are drawn once, and say how many they are.
std::vector<LanePainter::Marker> LanePainter::MarkersOf(const MarkerRow &row) const {
    std::vector<std::size_t> steps;
    for (std::size_t i = 0; i < m_session.steps.size(); ++i)
        if (row.has(m_session.steps[i]))
            steps.push_back(i);
    // Operations of several threads are told one after the other.
    std::stable_sort(steps.begin(), steps.end(), [&](std::size_t left, std::size_t right) {
        return m_session.steps[left].firstLine < m_session.steps[right].firstLine;
    });
    std::vector<Marker> markers;
    std::map<StepKind, std::size_t> latest;  // the last marker of each shape
    for (const std::size_t i : steps) {
        const Step &step = m_session.steps[i];
        const long long place = std::llround(m_axis.FractionOf(step.firstLine) * kMarkerPlaces);
        const auto known = latest.find(step.kind);
        if (known != latest.end() && markers[known->second].place == place) {
            ++markers[known->second].more;
            continue;
        }
        latest[step.kind] = markers.size();
        markers.push_back({i, place, 0});
    }
    return markers;
}

void LanePainter::PaintMarkers(const MarkerRow &row) {
    const std::vector<Marker> markers = MarkersOf(row);
    if (markers.empty())
        return;
    BeginRow(row.name, kMarkerRow);
    for (const Marker &marker : markers)
        PaintMarker(marker, row.shape);
    EndRow(kMarkerRow);
}

void LanePainter::PaintMarker(const Marker &marker, const char *rowShape) {
    const Step &step = m_session.steps[marker.step];
    const std::string shape = rowShape != nullptr ? rowShape : TextOf(step.kind).shape;
    const std::string x = Percent(m_axis.FractionOf(step.firstLine));
    const std::string y = Number(m_height + kMarkerRow / 2);
    OpenLink("marker " + shape + (step.count > 1 ? " repeated" : ""), m_story.LinkTo(marker.step),
             Title(step, marker.more));
    if (step.count > 1)
        m_rows += "<line class=\"run\" x1=\"" + x + "\" x2=\"" +
                  Percent(m_axis.FractionOf(step.lastLine)) + "\" y1=\"" + y + "\" y2=\"" + y +
                  "\"/>";
    m_rows += "<use href=\"#shape-" + shape + "\" x=\"" + x + "\" y=\"" + y + "\"/></a>\n";
}

std::vector<const Stretch *> LanePainter::StretchesOf(const LaneText &lane) const {
    std::vector<const Stretch *> stretches;
    for (const Stretch &stretch : m_session.stretches)
        if (stretch.lane == lane.lane && stretch.side == lane.side.value_or(stretch.side))
            stretches.push_back(&stretch);
    return stretches;
}

/// @return the rate that a label names; 0 when it names none
double RateOf(const Stretch &stretch) {
    const double rate = std::strtod(stretch.label.c_str(), nullptr);
    return std::isfinite(rate) ? rate : 0;
}

void LanePainter::PaintLane(const LaneText &lane) {
    const std::vector<const Stretch *> stretches = StretchesOf(lane);
    if (stretches.empty()) {
        std::string name = lane.name;
        name.front() = static_cast<char>(name.front() - 'A' + 'a');
        m_absent += (m_absent.empty() ? "" : ", ") + name;
        return;
    }
    const int height = lane.lane == Lane::Rate ? kRateRow : kLaneRow;
    BeginRow(lane.name, height);
    double highest = 4;
    for (const Stretch *stretch : stretches)
        highest = std::max(highest, std::abs(RateOf(*stretch)));
    for (const Stretch *stretch : stretches) {
        if (lane.lane == Lane::Rate)
            PaintRate(*stretch, highest);
        else
            PaintBar(lane, *stretch);
    }
    EndRow(height);
}

std::string LanePainter::Title(const std::string &name, const Stretch &stretch) const {
    const std::string end = stretch.isOpen ? "the end of the log" : m_axis.TextOf(stretch.lastLine);
    return name + ": " + stretch.label + ", from " + m_axis.TextOf(stretch.firstLine) + " to " +
           end;
}

void LanePainter::AppendBox(const char *element, const Stretch &stretch, int top, int height,
                            const char *more) {
    const double from = m_axis.FractionOf(stretch.firstLine);
    const double width = std::max(m_axis.FractionOf(stretch.lastLine) - from, kLeastWidth);
    m_rows += std::string("<") + element + " x=\"" + Percent(std::min(from, 1 - kLeastWidth)) +
              "\" width=\"" + Percent(width) + "\" y=\"" + Number(top) + "\" height=\"" +
              Number(height) + "\"" + more;
}

void LanePainter::AppendLabel(const Stretch &stretch, int top, int height) {
    AppendBox("foreignObject", stretch, top, height, ">");
    m_rows += "<div xmlns=\"http://www.w3.org/1999/xhtml\" class=\"label\"><span>" +
              Escaped(stretch.label) + "</span></div></foreignObject></a>\n";
}

void LanePainter::PaintBar(const LaneText &lane, const Stretch &stretch) {
    const std::string tone = ToneOf(stretch);
    OpenLink(std::string("stretch ") + lane.style + " " + tone + (stretch.isOpen ? " open" : ""),
             m_story.LinkToLine(stretch.firstLine), Title(lane.name, stretch));
    AppendBox("rect", stretch, m_height + kBarGap, kLaneRow - 2 * kBarGap, " rx=\"3\"/>");
    if (tone == "held")
        AppendBox("rect", stretch, m_height + kBarGap, kLaneRow - 2 * kBarGap,
                  " rx=\"3\" class=\"hatch\"/>");
    AppendLabel(stretch, m_height + kBarGap, kLaneRow - 2 * kBarGap);
}

/// Forward is above the middle and rewind below it, with the label on the other side. The height is
/// logarithmic: half speed and 16x can both be seen.
void LanePainter::PaintRate(const Stretch &stretch, double highest) {
    const double rate = RateOf(stretch);
    const int most = kRateRow / 2 - kBarGap;
    const double share = std::log2(1 + std::abs(rate)) / std::log2(1 + highest);
    const int size = std::max(2, static_cast<int>(std::lround(share * most)));
    const int middle = m_height + kRateRow / 2;
    OpenLink(std::string("stretch rate ") + (rate < 0 ? "back" : "ahead"),
             m_story.LinkToLine(stretch.firstLine), Title("Rate", stretch));
    AppendBox("rect", stretch, m_height + kBarGap, kRateRow - 2 * kBarGap, " class=\"area\"/>");
    AppendBox("rect", stretch, rate < 0 ? middle : middle - size, size, "/>");
    AppendLabel(stretch, rate < 0 ? middle - most : middle, most);
}

std::string LanePainter::Tick(const std::string &x, const std::string &text) const {
    return "<line x1=\"" + x + "\" x2=\"" + x + "\" y1=\"0\" y2=\"" + Number(m_height) +
           "\"/><text x=\"" + x + "\" y=\"" + Number(m_height + kAxisText) + "\">" + text +
           "</text>\n";
}

/// The lines are under the bars, so the axis comes first in the picture.
void LanePainter::PaintAxis() {
    std::string ticks;
    const double step = m_axis.Step();
    const long long first = std::llround(std::ceil(m_axis.Start() / step));
    const long long last = std::llround(std::floor((m_axis.Start() + m_axis.Length()) / step));
    for (long long i = first; i <= last; ++i) {
        const double position = static_cast<double>(i) * step;
        ticks += Tick(Percent((position - m_axis.Start()) / m_axis.Length()),
                      m_axis.TickText(position, step));
    }
    m_rows.insert(0, "<g class=\"axis\" aria-hidden=\"true\">\n" + ticks + "</g>\n");
    m_names += std::string("<text class=\"unit\" x=\"0\" y=\"") + Number(m_height + kAxisText) +
               "\">" + (m_axis.HasTime() ? "Time" : "Line") + "</text>\n";
    m_height += kAxisRow;
}

std::string LanePainter::Names() const {
    return "<svg class=\"names\" aria-hidden=\"true\" height=\"" + Number(m_height) + "\">\n" +
           m_names + "</svg>";
}

std::string LanePainter::Rows() const {
    std::string steps;
    for (const double step : PageAxis::Steps())
        steps += (steps.empty() ? "" : " ") + Number(static_cast<std::size_t>(step * 1000));
    return "<svg id=\"plot\" role=\"group\" aria-label=\"The log over time\" height=\"" +
           Number(m_height) + "\" data-bottom=\"" + Number(m_height - kAxisRow) +
           "\" data-text=\"" + Number(m_height - kAxisRow + kAxisText) + "\" data-start=\"" +
           std::to_string(m_axis.Start()) + "\" data-length=\"" + std::to_string(m_axis.Length()) +
           "\" data-steps=\"" + (m_axis.HasTime() ? steps : "") + "\">\n" + m_rows + "</svg>";
}

}  // namespace

Picture LanesOf(const Session &session, const PageAxis &axis, const PageStory &story) {
    return LanePainter(session, axis, story).Paint();
}

}  // namespace tool::log
