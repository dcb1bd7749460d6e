#include "log/Lanes.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

#include "log/StepValues.h"
#include "text/TextParts.h"

namespace tool::log {

namespace {

std::string ValueOf(const Step &step, std::string_view name) {
    const std::string *value = log::ValueOf(step.values, name);
    return value != nullptr ? *value : "";
}

/// Opens and closes stretches as the steps go by.
class LaneWriter {
  public:
    explicit LaneWriter(const Session &session) {
        // Steps are in the order in which they began; a lane changes when one has ended.
        std::vector<std::size_t> order(session.steps.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            order[i] = i;
        std::stable_sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
            return session.steps[left].lastLine < session.steps[right].lastLine;
        });
        for (const std::size_t at : order)
            Follow(session.steps[at]);
        for (auto &[key, stretch] : m_open) {
            stretch.isOpen = true;
            stretch.lastLine = session.lines.size() - 1;
            m_stretches.push_back(stretch);
        }
        std::stable_sort(m_stretches.begin(), m_stretches.end(),
                         [](const Stretch &left, const Stretch &right) {
                             return left.firstLine < right.firstLine;
                         });
    }

    std::vector<Stretch> Take() { return std::move(m_stretches); }

  private:
    void Follow(const Step &step) {
        if (step.side == Side::Recorder)
            FollowRecorder(step);
        else
            FollowPlayback(step);
    }

    void FollowRecorder(const Step &step) {
        if (step.depth == 0)
            m_isSwapping = step.title == "SwapTS2Record";
        if (step.title == "SetHandle")
            m_service = ValueOf(step, "serviceId");
        if (step.title == "SetSinkProperty")
            m_isTimeshift = ValueOf(step, "isTimeshift") != "0";
        if (step.title == "SetChannelInfoProperty")
            FollowRecordedChannel(step);
        if (step.kind != StepKind::PlatformCall || step.isFailure)
            return;
        const std::string writing = m_isTimeshift ? "buffering" : "recording";
        if (step.title == "tv_recorder_start") {
            Set(Lane::RecorderState, Side::Recorder, writing, step);
            if (!m_service.empty())
                Set(Lane::Channel, Side::Recorder, "service " + m_service, step);
        } else if (step.title == "tv_recorder_pause") {
            Set(Lane::RecorderState, Side::Recorder, "paused", step);
        } else if (step.title == "tv_recorder_resume") {
            Set(Lane::RecorderState, Side::Recorder, writing, step);
        } else if (step.title == "tv_recorder_stop") {
            Clear(Lane::RecorderState, Side::Recorder, step);
            Clear(Lane::Channel, Side::Recorder, step);
        } else if (step.title == "tv_recorder_set_property" && m_isSwapping) {
            m_isTimeshift = false;
            Set(Lane::RecorderState, Side::Recorder, "recording", step);
        }
    }

    /// A recording changes its channel with the information about the new one.
    void FollowRecordedChannel(const Step &step) {
        m_service = ValueOf(step, "programNumber");
        if (!m_service.empty() && IsOpen(Lane::Channel, Side::Recorder))
            Set(Lane::Channel, Side::Recorder, "service " + m_service, step);
    }

    void FollowPlayback(const Step &step) {
        if (step.kind == StepKind::Value && step.title == "channel read")
            m_channel = step;
        if (step.isFailure)
            return;
        if (step.title == "TrickPlay")
            m_rate = ValueOf(step, "rate");
        if (step.kind != StepKind::PlatformCall) {
            // Every channel that is set up is played at normal speed until it recovers another.
            if (step.title == "ResetChannel" && step.outcome == "0") {
                SetRate("1x", step);
                SetPlayedChannel(step);
            }
            return;
        }
        if (step.title == "tv_stream_set_property")
            SetPlayedChannel(step);
        FollowPlayer(step);
        if (StartsWith(step.title, "tv_stream_set_property VIDEO_STILL_MODE 0"))
            Clear(Lane::VideoMute, Side::Playback, step);
        if (step.title.find("AUDIO_SINK_MUTE 0") != std::string::npos)
            Clear(Lane::SoundMute, Side::Playback, step);
    }

    void FollowPlayer(const Step &step) {
        if (step.title == "tv_player_ready" || step.title == "tv_player_pause") {
            Set(Lane::PlaybackState, Side::Playback,
                step.title == "tv_player_ready" ? "ready" : "paused", step);
        } else if (step.title == "tv_stream_start" || step.title == "tv_player_resume") {
            Set(Lane::PlaybackState, Side::Playback, "playing", step);
            if (!IsOpen(Lane::Rate, Side::Playback))
                SetRate("1x", step);
        } else if (step.title == "tv_player_set_play_speed") {
            // The service lifts the sound's mute itself, which no log shows.
            Set(Lane::VideoMute, Side::Playback, "still", step);
            Set(Lane::SoundMute, Side::Playback, "muted until the service lifts it", step);
            SetRate(m_rate, step);
        } else if (step.title == "tv_player_set_position") {
            SetRate(ValueOf(step, "rate"), step);
        } else if (step.title == "tv_stream_stop") {
            for (const Lane lane :
                 {Lane::PlaybackState, Lane::Rate, Lane::VideoMute, Lane::SoundMute, Lane::Channel})
                Clear(lane, Side::Playback, step);
        }
    }

    void SetPlayedChannel(const Step &step) {
        const std::string video = ValueOf(m_channel, "videoPid");
        const std::string audio = ValueOf(m_channel, "audioPid");
        const bool hasVideo =
            !video.empty() && video != "0x0" && video != "0xffff" && video != "none";
        const std::string label = hasVideo ? "video " + video : "audio " + audio;
        if (!video.empty() || !audio.empty())
            Set(Lane::Channel, Side::Playback, label, step);
    }

    void SetRate(const std::string &rate, const Step &step) {
        if (!rate.empty())
            Set(Lane::Rate, Side::Playback, rate, step);
    }

    using Key = std::pair<Lane, Side>;

    bool IsOpen(Lane lane, Side side) const { return m_open.count({lane, side}) > 0; }

    void Set(Lane lane, Side side, const std::string &label, const Step &step) {
        const auto found = m_open.find({lane, side});
        if (found != m_open.end() && found->second.label == label)
            return;
        Clear(lane, side, step);
        Stretch stretch;
        stretch.lane = lane;
        stretch.side = side;
        stretch.label = label;
        stretch.firstLine = step.lastLine;
        m_open[{lane, side}] = stretch;
    }

    void Clear(Lane lane, Side side, const Step &step) {
        const auto found = m_open.find({lane, side});
        if (found == m_open.end())
            return;
        found->second.lastLine = std::max(step.lastLine, found->second.firstLine);
        m_stretches.push_back(found->second);
        m_open.erase(found);
    }

    std::vector<Stretch> m_stretches;
    std::map<Key, Stretch> m_open;
    std::string m_service;
    std::string m_rate;
    Step m_channel;
    bool m_isTimeshift = false;
    bool m_isSwapping = false;
};

}  // namespace

std::vector<Stretch> StretchesOf(const Session &session) {
    return LaneWriter(session).Take();
}

}  // namespace tool::log
