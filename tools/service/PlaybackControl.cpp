#include "service/PlaybackControl.h"

#include <MoxPvr.h>
#include <tv_stream.h>

#include <algorithm>
#include <limits>

#include "Failure.h"
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
        throw Failure("cannot " + std::string(what) + " (result " + std::to_string(result) + ")");
}

}  // namespace

PlaybackControl::PlaybackControl(PvrService &pvr, const tvdesktop::PlayerOptions &options)
    : m_pvr(pvr) {
    m_pvr.TakePlayer(tvdesktop::CreatePlayer(options));
}

void PlaybackControl::Open(const Source &source) {
    m_path = source.path;
    m_pvr.Do(playback::SetHandle{kPlayerNumber});
    m_pvr.Do(playback::SetProperty{PathField(source.path), RequestTime(source.fromMs),
                                   source.isTimeshift ? 1 : 0});
    m_pvr.Do(playback::Reset{});  // SetProperty programs PIDs, this one their codecs
}

void PlaybackControl::ForceVideoPid(std::uint32_t pid) {
    Require(mox_pvr_set_playback_pid_property(nullptr, pid, moxpvr::kKeepPid, moxpvr::kKeepPid),
            "program the video PID");
}

void PlaybackControl::Start() {
    m_pvr.Do(playback::Start{});
}

void PlaybackControl::Stop() {
    m_pvr.Do(playback::Stop{});
}

void PlaybackControl::Pause() {
    m_pvr.Do(playback::Pause{});
}

void PlaybackControl::Resume() {
    m_pvr.Do(playback::Resume{});
}

void PlaybackControl::Step() {
    m_pvr.Do(playback::StepFrame{});
}

bool PlaybackControl::SetRate(double rate) {
    const auto now = static_cast<std::uint32_t>(RequestTime(GetProgress().positionMs));
    m_pvr.Do(playback::TrickPlay{now, rate});
    return State().rate == rate;
}

void PlaybackControl::SkipTo(std::int64_t positionMs) {
    m_pvr.Do(playback::Skip{static_cast<std::uint32_t>(RequestTime(positionMs)), State().rate});
}

bool PlaybackControl::EnableAudioDescription() {
    const std::uint16_t program = State().program;
    for (const tvdesktop::Service &service : tvdesktop::ScanServices(m_path).services) {
        const tvdesktop::ElementaryStream *stream =
            service.First(tvdesktop::StreamKind::AudioDescription);
        if (service.id != program || stream == nullptr)
            continue;
        TSAudio audio{};
        audio.pid = stream->pid;
        audio.codecType = stream->audioCodec;
        Require(m_pvr.Playback().SetADProperty(audio), "switch audio description on");
        return true;
    }
    return false;
}

void PlaybackControl::DisableAudioDescription() {
    Require(m_pvr.Playback().DisableADProperty(), "switch audio description off");
}

std::vector<tvdesktop::Event> PlaybackControl::Take(std::chrono::milliseconds patience) {
    std::vector<tvdesktop::Event> events = m_pvr.Take(patience);
    if (ContainsDetail(events, kUnmuted) && State().rate == 1.0)
        LiftSoundMute();
    return events;
}

void PlaybackControl::LiftSoundMute() {
    tv_stream_set_property(tvdesktop::StreamOf(m_pvr.Player()), TV_PROPERTY_AUDIO_SINK_MUTE, 0, 0);
}

}  // namespace tool
