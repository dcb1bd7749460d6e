#include "service/PlaybackControl.h"

#include <tv_stream.h>

#include <algorithm>
#include <limits>

#include "Failure.h"
#include "MoxPvr.h"
#include "service/Events.h"
#include "service/Request.h"

namespace tool {

namespace {

constexpr std::uint8_t kPlayerNumber = 2;

/// Requests carry times in 32 bits.
std::int32_t RequestTime(std::int64_t milliseconds) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(milliseconds, 0, std::numeric_limits<std::int32_t>::max()));
}

void Require(unsigned int result, const char *what) {
    if (result != 0)
        throw Failure(std::string(what) + " failed with result " + std::to_string(result) + ".");
}

}  // namespace

Playing::Playing(PvrService &service, const tvdesktop::PlayerOptions &options)
    : m_service(service) {
    m_service.TakePlayer(tvdesktop::CreatePlayer(options));
}

void Playing::Open(const Source &source) {
    m_path = source.path;
    m_service.Do(playback::SetHandle{kPlayerNumber});
    m_service.Do(playback::SetProperty{PathField(source.path), RequestTime(source.fromMs),
                                       source.isTimeshift ? 1 : 0});
    m_service.Do(playback::Reset{});  // SetProperty programs PIDs, this one their codecs
}

void Playing::ForceVideoPid(std::uint32_t pid) {
    Require(mox_pvr_set_playback_pid_property(nullptr, pid, moxpvr::kKeepPid, moxpvr::kKeepPid),
            "Programming the video PID");
}

void Playing::Start() {
    m_service.Do(playback::Start{});
}

void Playing::Stop() {
    m_service.Do(playback::Stop{});
}

void Playing::Pause() {
    m_service.Do(playback::Pause{});
}

void Playing::Resume() {
    m_service.Do(playback::Resume{});
}

void Playing::Step() {
    m_service.Do(playback::StepFrame{});
}

bool Playing::SetRate(double rate) {
    const auto now = static_cast<std::uint32_t>(RequestTime(GetProgress().positionMs));
    m_service.Do(playback::TrickPlay{now, rate});
    return State().rate == rate;
}

void Playing::SkipTo(std::int64_t positionMs) {
    m_service.Do(playback::Skip{static_cast<std::uint32_t>(RequestTime(positionMs)), State().rate});
}

bool Playing::EnableAudioDescription() {
    const std::uint16_t program = State().program;
    for (const tvdesktop::Service &service : tvdesktop::ScanServices(m_path).services) {
        const tvdesktop::ElementaryStream *stream =
            service.First(tvdesktop::StreamKind::AudioDescription);
        if (service.id != program || stream == nullptr)
            continue;
        TSAudio audio{};
        audio.pid = stream->pid;
        audio.codecType = stream->audioCodec;
        Require(m_service.Playback().SetADProperty(audio), "SetADProperty");
        return true;
    }
    return false;
}

void Playing::DisableAudioDescription() {
    Require(m_service.Playback().DisableADProperty(), "DisableADProperty");
}

std::vector<tvdesktop::Event> Playing::Take(std::chrono::milliseconds patience) {
    std::vector<tvdesktop::Event> events = m_service.Take(patience);
    const bool isUnmuted =
        std::any_of(events.begin(), events.end(),
                    [](const tvdesktop::Event &event) { return IsDetail(event, kUnmuted); });
    if (isUnmuted && State().rate == 1.0)
        LiftSoundMute();
    return events;
}

void Playing::LiftSoundMute() {
    tv_stream_set_property(tvdesktop::StreamOf(m_service.player()), TV_PROPERTY_AUDIO_SINK_MUTE, 0,
                           0);
}

}  // namespace tool
