#include "verbs/DemoStory.h"

#include <TVPlayerDataUtil.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <sstream>

#include "Failure.h"
#include "service/Events.h"
#include "service/Input.h"
#include "text/EventText.h"
#include "text/PlayerText.h"
#include "text/RequestSummary.h"
#include "text/TimeText.h"
#include "verbs/PacketFile.h"

namespace tool {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using tvdesktop::Service;
using tvdesktop::StreamKind;

constexpr double kRecordSpeed = 8;  ///< times stream time
constexpr double kClockFactor = 2;  ///< of the player
constexpr double kTrickRate = 4;
constexpr std::int64_t kChangeMs = 14'000;
constexpr std::int64_t kLengthMs = 28'000;
constexpr std::int64_t kSwapMs = 4'000;
constexpr std::int64_t kShortMs = 8'000;
constexpr std::int64_t kNearMs = 4'000;  ///< how far a clock may run on a busy machine
constexpr milliseconds kTick(20);
constexpr std::chrono::seconds kPatience(20);

std::string YesNo(bool value) {
    return value ? "yes" : "no";
}

/// Hexadecimal, short enough for a column.
std::string PidsText(const std::set<std::uint16_t> &pids) {
    std::ostringstream text;
    text << std::hex;
    for (const std::uint16_t pid : pids)
        text << (text.tellp() > 0 ? " " : "") << pid;
    return text.str();
}

std::set<std::uint16_t> PidsOf(const std::vector<Service> &services) {
    std::set<std::uint16_t> pids = {0};
    for (const Service &service : services) {
        pids.insert(service.pmtPid);
        pids.insert(service.pcrPid);
        for (const tvdesktop::ElementaryStream &stream : service.streams)
            pids.insert(stream.pid);
    }
    return pids;
}

int PidIn(const Service &service, StreamKind kind) {
    const tvdesktop::ElementaryStream *stream = service.First(kind);
    return stream != nullptr ? stream->pid : -1;
}

/// What the decoders must be set to for a service: PIDs, each with its codec number.
std::string DecodersFor(const Service &service) {
    const tvdesktop::ElementaryStream *video = service.First(StreamKind::Video);
    const tvdesktop::ElementaryStream *audio = service.First(StreamKind::Audio);
    std::string text = "audio " + PidText(audio->pid) + "/" +
                       std::to_string(TVPlayerDataUtil::ConvertAudioEncodeType(audio->audioCodec));
    if (video != nullptr)
        text += ", video " + PidText(video->pid) + "/" +
                std::to_string(TVPlayerDataUtil::ConvertVideoEncodeType(video->videoCodec));
    return text;
}

std::string DecodersAre(const tvdesktop::PlayerState &state) {
    std::string text = "audio " + PidText(state.audioPid) + "/" + std::to_string(state.audioCodec);
    if (state.hasVideo != 0)
        text += ", video " + PidText(state.videoPid) + "/" + std::to_string(state.videoCodec);
    return text;
}

bool IsSetTo(const tvdesktop::PlayerState &state, const Service &service) {
    const int video = PidIn(service, StreamKind::Video);
    return video < 0 ? state.audioPid == PidIn(service, StreamKind::Audio)
                     : state.videoPid == video;
}

void ThrowIfStopped() {
    if (StopRequested())
        throw Failure("the demo was interrupted");
}

}  // namespace

DemoStory::DemoStory(std::string input, std::string directory, DemoCast cast,
                     const Console &console)
    : m_input(std::move(input)),
      m_directory(std::move(directory)),
      m_cast(std::move(cast)),
      m_console(console) {
    m_pvr.ObserveRequests(
        [this](const Request &request, const Reply &reply) { Narrate(request, reply); });
    if (console.showRequests)
        ShowRequests(m_pvr, console);
}

void DemoStory::Tell() {
    RecordTwoServices();
    {
        PlaybackControl playing(m_pvr, {kClockFactor});
        PlayAndTrick(playing);
        DescribeForTheBlind(playing);
        if (m_cast.second) {
            CrossAndRewind(playing);
            PlayOverCrossingToEnd(playing);
        }
        playing.Stop();
    }
    ShiftTime();
    if (m_cast.radio)
        HearRadio();
}

// --- Chapters ------------------------------------------------------------------------------------

void DemoStory::RecordTwoServices() {
    Chapter("Record " + TitleOf(*m_cast.first) +
            (m_cast.second ? ", then change to " + TitleOf(*m_cast.second) : ""));
    const std::string path = PathOf("channels.srf");
    RecordingControl recording(m_pvr, {m_input, kRecordSpeed});
    m_events.clear();
    recording.Start(*m_cast.first, {path, false});
    WriteInformation(path, InformationOf(*m_cast.first));
    RecordUntil(recording, kChangeMs);
    ExpectStart("Recording started", moxpvr::RecordType::Recording, *m_cast.first);
    std::vector<Service> recorded = {*m_cast.first};
    if (m_cast.second) {
        recording.ChangeTo(*m_cast.second);
        m_crossingMs = recording.GetProgress().positionMs;
        recorded.push_back(*m_cast.second);
    }
    RecordUntil(recording, kLengthMs);
    recording.Stop();
    ExpectPids(path, recorded);
}

void DemoStory::PlayAndTrick(PlaybackControl &playing) {
    Chapter("Play it, faster, picture by picture");
    const Service &first = *m_cast.first;
    const std::string path = PathOf("channels.srf");
    unsigned int video = 0;
    unsigned int audio = 0;
    unsigned int pcr = 0;
    m_pvr.Playback().GetPidPropertyByUri(path, video, audio, pcr);
    m_report.Expect("PIDs in the information file",
                    PidText(PidIn(first, StreamKind::Video)) + " " +
                        PidText(PidIn(first, StreamKind::Audio)) + " " + PidText(first.pcrPid),
                    PidText(video) + " " + PidText(audio) + " " + PidText(pcr));
    ExpectPlaying("Decoders at the beginning", playing, {path}, first);
    m_report.Expect("After the first unmute", "picture and sound", SeenAndHeard(playing.State()));

    playing.SetRate(kTrickRate);
    WatchForUnmute(playing, first);
    m_report.Expect("At four times the speed", "4x picture, no sound",
                    RateText(playing.State().rate) + " " + SeenAndHeard(playing.State()));
    WatchUntil(playing, kSwapMs);

    playing.Pause();
    const std::int64_t before = playing.GetProgress().positionMs;
    playing.Step();
    const std::int64_t step = playing.GetProgress().positionMs - before;
    m_report.Expect(
        "One picture further", "paused, a little later",
        std::string(RunText(playing.State().run)) + ", " + std::to_string(step) + " ms later",
        playing.State().run == tvdesktop::PlayerState::Run::Paused && step > 0 && step < kNearMs);
    playing.Resume();
    playing.SetRate(1.0);
    WatchForUnmute(playing, first);
    m_report.Expect("Back at normal speed", "picture and sound", SeenAndHeard(playing.State()));
}

void DemoStory::DescribeForTheBlind(PlaybackControl &playing) {
    const int pid = PidIn(*m_cast.first, StreamKind::AudioDescription);
    if (pid < 0)
        return;
    Chapter("Audio description on and off");
    m_console.terminal.Line("  call    SetADProperty           description " + PidText(pid));
    playing.EnableAudioDescription();
    const tvdesktop::PlayerState on = playing.State();
    m_report.Expect("Audio description on", "yes " + PidText(pid),
                    YesNo(on.adEnabled) + " " + PidText(on.adPid));
    m_console.terminal.Line("  call    DisableADProperty");
    playing.DisableAudioDescription();
    const tvdesktop::PlayerState off = playing.State();
    m_report.Expect("Audio description off", "no none",
                    YesNo(off.adEnabled) + " " + PidText(off.adPid));
}

void DemoStory::CrossAndRewind(PlaybackControl &playing) {
    Chapter("Skip across the change of service and rewind over it");
    playing.SkipTo(m_crossingMs + kSwapMs);
    WatchForUnmute(playing, *m_cast.second);
    ExpectProgrammed("Decoders after the change", playing, *m_cast.second);
    m_report.Expect("After the change", "picture and sound", SeenAndHeard(playing.State()));

    playing.SetRate(-kTrickRate);
    const bool isRecovered = WatchForUnmute(playing, *m_cast.first);
    const std::int64_t recoveredMs = playing.State().positionMs;
    const bool isNear =
        recoveredMs <= m_crossingMs + kNearMs && recoveredMs >= m_crossingMs - kNearMs;
    m_report.Expect("Unmuted after rewinding over it", "-4x near " + TimeText(m_crossingMs),
                    RateText(playing.State().rate) + " at " + TimeText(recoveredMs),
                    isRecovered && isNear && playing.State().rate == -kTrickRate);
    ExpectProgrammed("Decoders before the change", playing, *m_cast.first);
    const bool isAtBeginning = WatchFor(playing, kBeginningReached);
    m_report.Expect("Rewound to the beginning", "event 2 at 00:00.0",
                    std::string(isAtBeginning ? "event 2" : "no event") + " at " +
                        TimeText(playing.GetProgress().positionMs));
}

void DemoStory::PlayOverCrossingToEnd(PlaybackControl &playing) {
    Chapter("Play over the change of service to the end");
    playing.SetRate(1.0);
    playing.SkipTo(m_crossingMs - kNearMs);
    WatchForUnmute(playing, *m_cast.first);
    ExpectProgrammed("Decoders before the change again", playing, *m_cast.first);
    WatchForUnmute(playing, *m_cast.second);
    ExpectProgrammed("Decoders after playing over it", playing, *m_cast.second);
    playing.SetRate(kTrickRate);
    const bool isAtEnd = WatchFor(playing, kEndReached);
    const Progress progress = playing.GetProgress();
    m_report.Expect(
        "Played to the end", "event 1 at " + TimeText(progress.durationMs),
        std::string(isAtEnd ? "event 1" : "no event") + " at " + TimeText(progress.positionMs));
}

void DemoStory::ShiftTime() {
    Chapter("Fill a timeshift buffer, watch it, turn it into a recording");
    const std::string buffer = PathOf("buffer.tsb");
    const std::string path = PathOf("kept.srf");
    RecordingControl recording(m_pvr, {m_input, kRecordSpeed});
    m_events.clear();
    recording.Start(*m_cast.first, {buffer, true});
    RecordUntil(recording, kSwapMs / 2);
    ExpectStart("Timeshift started", moxpvr::RecordType::Timeshift, *m_cast.first);
    {
        PlaybackControl playing(m_pvr, {kClockFactor});
        ExpectPlaying("Decoders on the growing buffer", playing, {buffer, 0, true}, *m_cast.first);
        playing.Stop();
    }
    RecordUntil(recording, kSwapMs);
    m_events.clear();
    recording.SwapTo(path);
    WriteInformation(path, InformationOf(*m_cast.first));
    RecordUntil(recording, kShortMs);
    ExpectStart("Buffer became a recording", moxpvr::RecordType::Timeshift, *m_cast.first);
    recording.Stop();
    ExpectSourcePackets(path);
}

void DemoStory::HearRadio() {
    Chapter("Record and play " + TitleOf(*m_cast.radio));
    const std::string path = PathOf("radio.srf");
    {
        RecordingControl recording(m_pvr, {m_input, kRecordSpeed});
        recording.Start(*m_cast.radio, {path, false});
        WriteInformation(path, InformationOf(*m_cast.radio));
        RecordUntil(recording, kShortMs);
        recording.Stop();
    }
    ExpectPids(path, {*m_cast.radio});
    PlaybackControl playing(m_pvr, {kClockFactor});
    const bool isUnmuted = ExpectPlaying("Decoders for radio", playing, {path}, *m_cast.radio);
    m_report.Expect(
        "Radio is heard", "unmuted, radio and sound",
        std::string(isUnmuted ? "unmuted, " : "not unmuted, ") + SeenAndHeard(playing.State()));
    playing.Stop();
}

// --- Telling -------------------------------------------------------------------------------------

void DemoStory::Chapter(const std::string &title) {
    m_console.terminal.Line("");
    m_console.terminal.Line(title, Style::Title);
}

void DemoStory::Narrate(const Request &request, const Reply &reply) {
    if (request.name == std::string("GetProgress"))
        return;
    m_console.terminal.Line("  request " + RequestSummary(request) +
                            (reply.result == 0 ? "" : "  result " + std::to_string(reply.result)));
}

void DemoStory::Show(const Events &events) {
    for (const tvdesktop::Event &event : events) {
        m_console.terminal.Line("  event   " + EventText(event), Style::Faint);
        if (const std::string failure = EventFailureText(event); !failure.empty())
            throw Failure(failure);
        m_events.push_back(event);
    }
}

void DemoStory::RecordUntil(RecordingControl &recording, std::int64_t positionMs) {
    const auto deadline = steady_clock::now() + kPatience;
    for (Progress now = recording.GetProgress();
         now.positionMs < positionMs && !ContainsDetail(m_events, kRecordingEnded);
         now = recording.GetProgress()) {
        ThrowIfStopped();
        if (steady_clock::now() > deadline)
            throw Failure("the demo stopped: the recorder stays at " + TimeText(now.positionMs));
        m_console.terminal.Status("  recording " + TimeText(now.positionMs) + " " +
                                  Bar(now.positionMs, kLengthMs));
        Show(m_pvr.Take(kTick));
    }
    Show(m_pvr.Take(milliseconds(0)));
    if (const Progress now = recording.GetProgress(); now.positionMs < positionMs)
        throw Failure("cannot run the demo: the input is too short, it ends after " +
                      TimeText(now.positionMs) + "; name one of " + TimeText(kLengthMs) +
                      " or more with --input");
}

bool DemoStory::Watch(PlaybackControl &playing, const Ending &hasEnded) {
    const auto deadline = steady_clock::now() + kPatience;
    while (steady_clock::now() < deadline) {
        ThrowIfStopped();
        const Events events = playing.Take(kTick);
        Show(events);
        if (hasEnded(events))
            return true;
        const Progress now = playing.GetProgress();
        m_console.terminal.Status("  playing " + TimeText(now.positionMs) + " " +
                                  Bar(now.positionMs, now.durationMs) + " " +
                                  RateText(playing.State().rate));
    }
    return false;
}

bool DemoStory::WatchUntil(PlaybackControl &playing, std::int64_t positionMs) {
    return Watch(playing, [&](const Events & /*events*/) {
        return playing.State().positionMs >= positionMs;
    });
}

bool DemoStory::WatchFor(PlaybackControl &playing, EventDetail detail) {
    return Watch(playing, [&](const Events &events) { return ContainsDetail(events, detail); });
}

bool DemoStory::WatchForUnmute(PlaybackControl &playing, const Service &service) {
    return Watch(playing, [&](const Events &events) {
        return ContainsDetail(events, kUnmuted) && IsSetTo(playing.State(), service);
    });
}

// --- Expectations --------------------------------------------------------------------------------

void DemoStory::ExpectStart(const std::string &what, moxpvr::RecordType recordType,
                            const Service &service) {
    const auto text = [](moxpvr::RecordType type, std::uint64_t serviceId) {
        return "event 32769, type " + std::to_string(static_cast<int>(type)) + ", service " +
               std::to_string(serviceId);
    };
    const auto started =
        std::find_if(m_events.begin(), m_events.end(), [](const tvdesktop::Event &event) {
            return event.number == moxpvr::SIGNAL_PVR_RECORDER_STARTED;
        });
    std::string seen = "no event";
    if (started != m_events.end()) {
        const auto event = FieldsOf<moxpvr::RecorderStartedEvent>(*started);
        seen = text(event.recordType, event.serviceId);
    }
    m_report.Expect(what, text(recordType, service.id), seen);
}

void DemoStory::ExpectPids(const std::string &path, const std::vector<Service> &recorded) {
    m_report.Expect("PIDs in the recording (hex)", PidsText(PidsOf(recorded)),
                    PidsText(PidsIn(path)));
}

void DemoStory::ExpectSourcePackets(const std::string &path) {
    const std::string difference = DifferenceFromSource(path, m_input);
    m_report.Expect("Packets across the swap", "those of the source",
                    difference.empty() ? "those of the source" : difference);
}

bool DemoStory::ExpectPlaying(const std::string &what, PlaybackControl &playing,
                              const Source &source, const Service &service) {
    playing.Open(source);
    playing.Start();
    const bool isUnmuted = WatchForUnmute(playing, service);
    ExpectProgrammed(what, playing, service);
    return isUnmuted;
}

void DemoStory::ExpectProgrammed(const std::string &what, PlaybackControl &playing,
                                 const Service &service) {
    const tvdesktop::PlayerState state = playing.State();
    m_console.terminal.Line("  state   " + TimeText(state.positionMs) + " " + PlayerText(state));
    m_report.Expect(what, DecodersFor(service), DecodersAre(state));
}

}  // namespace tool
