#include "player/PlaybackEngine.h"

#include <tv_stream.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tvdesktop {

namespace {

/// How far a decoder reads ahead in the direction of play, and how old a unit may be that is still
/// shown at the position. Milliseconds of stream time.
constexpr double kReadAhead = 2000;
constexpr double kStillShown = 500;

/// The end of a growing file is left and reached again with everything that is written to it; it
/// counts as left when playback has fallen behind by this much.
constexpr double kBehindEnd = 2000;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool IsRate(double rate) {
    return std::isfinite(rate) && rate != 0;
}

/// Messages carry times in 32 bits.
int TimeCode(double milliseconds) {
    constexpr double kLatest = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(milliseconds, kLatest));
}

}  // namespace

// --- Source and properties -----------------------------------------------------------------------

PlayerCode PlaybackEngine::SetProperties(PropertyArguments *arguments) {
    const Work work(*this);
    StreamSettings settings{m_state, m_source};
    if (!ReadStreamProperties(*arguments, settings))
        return kPlayerBadProperty;
    const Decoded before = DecodedStream();
    m_state = settings.state;
    m_source = settings.source;
    if (settings.isNewSource) {
        LeaveSource();
        Publish();
        Open();
        Place(m_source.startMs, 1.0);
    }
    const Decoded after = DecodedStream();
    if (after.kind != before.kind || after.pid != before.pid)
        ExpectUnit();
    return kPlayerOk;
}

void PlaybackEngine::LeaveSource() {
    m_recording.reset();
    Forget();
    Place(0, 1.0);
    m_state.run = Run::Stopped;
    m_state.sourceMuted = true;
    m_state.waitingForUnmute = false;
}

bool PlaybackEngine::Open() {
    if (m_recording)
        return true;
    auto recording = std::make_unique<Recording>();
    if (!recording->Open(m_source.path))
        return false;
    recording->Follow();
    m_recording = std::move(recording);
    return true;
}

PlayerCode PlaybackEngine::ChannelInfoAt(std::int64_t time, TvChannelInfo **info) {
    const Work work(*this);
    if (info == nullptr)
        return kPlayerBadArgument;
    *info = nullptr;
    if (!Open())
        return kPlayerNoSource;
    FollowFile();
    *info = m_recording->InfoAt(static_cast<double>(time));
    return *info == nullptr ? kPlayerNoChannelInfo : kPlayerOk;
}

PlayerCode PlaybackEngine::SetAudioDescription(bool enabled, int pid) {
    const Work work(*this);
    if (enabled)
        m_state.adPid = pid;
    m_state.adEnabled = enabled;
    return kPlayerOk;
}

PlayerCode PlaybackEngine::Set3dFormat(int mode, int format) {
    const Work work(*this);
    m_state.threeDMode = mode;
    m_state.threeDFormat = format;
    return kPlayerOk;
}

PlayerCode PlaybackEngine::Set3dMode(int mode, int subVideoPid) {
    const Work work(*this);
    m_state.threeDMode = mode;
    m_state.subVideoPid = subVideoPid;
    return kPlayerOk;
}

// --- Transport -----------------------------------------------------------------------------------

PlayerCode PlaybackEngine::Ready() {
    const Work work(*this);
    const bool wasStopped = m_state.run == Run::Stopped;
    if (const PlayerCode failure = Prepare(); failure != kPlayerOk)
        return failure;
    m_state.run = Run::Ready;
    if (wasStopped) {
        Place(m_source.startMs, 1.0);
        ExpectUnit();
    }
    return kPlayerOk;
}

PlayerCode PlaybackEngine::Start() {
    const Work work(*this);
    if (m_state.run == Run::Playing || m_state.run == Run::Paused)
        return kPlayerWrongState;
    if (const PlayerCode failure = Prepare(); failure != kPlayerOk)
        return failure;
    if (m_state.run == Run::Stopped)
        PlayFrom(m_source.startMs, 1.0);
    else
        PlayFrom(m_position, m_state.rate);
    return kPlayerOk;
}

/// Opens and judges the source. A timeshift buffer may still be empty: its recorder has just begun.
PlayerCode PlaybackEngine::Prepare() {
    if (!Open())
        return Fail(kPlayerErrorSource, kPlayerNoSource);
    if (!FollowFile())
        return Fail(kPlayerErrorSource, kPlayerNoSource);
    if (!m_recording->HasStreamTime() && !m_source.isTimeshift)
        return Fail(kPlayerErrorNothingDecodable, kPlayerNoStream);
    return kPlayerOk;
}

PlayerCode PlaybackEngine::Fail(PlayerError error, PlayerCode result) {
    m_state.run = Run::Stopped;
    m_state.waitingForUnmute = false;
    PlayerMessage message;
    message.errCode = error;
    Post(TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR, message);
    return result;
}

PlayerCode PlaybackEngine::Stop() {
    const Work work(*this);
    m_state.run = Run::Stopped;
    m_state.rate = 1.0;
    m_state.waitingForUnmute = false;
    m_left = 0;
    Forget();
    return kPlayerOk;
}

PlayerCode PlaybackEngine::Pause() {
    return SwitchTo(Run::Paused);
}

PlayerCode PlaybackEngine::Resume() {
    return SwitchTo(Run::Playing);
}

PlayerCode PlaybackEngine::SwitchTo(Run run) {
    const Work work(*this);
    if (m_state.run == Run::Stopped)
        return kPlayerWrongState;
    m_state.run = run;
    return kPlayerOk;
}

PlayerCode PlaybackEngine::Step() {
    const Work work(*this);
    if (m_state.run == Run::Stopped)
        return kPlayerWrongState;
    const Decoded decoded = DecodedStream();
    if (decoded.pid < 0)
        return kPlayerNoStream;
    if (!FollowFile())
        return kPlayerNoSource;
    m_state.run = Run::Paused;
    const double last = std::min(StretchEnd(), m_position + kReadAhead);
    const auto unit = m_recording->FindUnit(decoded.kind, decoded.pid, m_stretch,
                                            std::nextafter(m_position, kInfinity), last);
    if (!unit && last < StretchEnd())
        return kPlayerNoStream;
    if (unit) {
        MoveTo(*unit);
    } else if (m_stretch + 1 < m_recording->StretchCount()) {
        CrossBorder(true);
    } else {
        ReachEdge(Edge::End);
    }
    return kPlayerOk;
}

PlayerCode PlaybackEngine::SetSpeed(double rate) {
    const Work work(*this);
    if (!IsRate(rate))
        return kPlayerBadArgument;
    if (m_state.run == Run::Stopped)
        return kPlayerWrongState;
    m_state.run = Run::Playing;
    m_state.rate = rate;
    m_edge = Edge::None;
    ExpectUnit();
    return kPlayerOk;
}

PlayerCode PlaybackEngine::Seek(std::int64_t position, double rate) {
    const Work work(*this);
    if (!IsRate(rate))
        return kPlayerBadArgument;
    if (m_state.run == Run::Stopped)
        return kPlayerWrongState;
    if (!FollowFile())
        return kPlayerNoSource;
    Forget();
    PlayFrom(static_cast<double>(position), rate);
    return kPlayerOk;
}

/// While another thread works on the recording, its position is the one that was published last.
PlayerCode PlaybackEngine::GetPosition(long long *position, long long *duration) {
    if (position == nullptr || duration == nullptr)
        return kPlayerBadArgument;
    if (const Work work(*this, std::try_to_lock); work.Began() && m_recording)
        FollowFile();
    const Lock lock(m_shownMutex);
    if (!m_hasShownSource)
        return kPlayerNoSource;
    *position = m_shown.positionMs;
    *duration = m_shown.durationMs;
    return kPlayerOk;
}

PlayerState PlaybackEngine::State() const {
    const Lock lock(m_shownMutex);
    return m_shown;
}

void PlaybackEngine::Publish() {
    const Lock lock(m_shownMutex);
    m_shown = m_state;
    m_shown.positionMs = static_cast<std::int64_t>(m_position);
    m_shown.durationMs = static_cast<std::int64_t>(Duration());
    m_shown.program = m_recording && m_stretch < m_recording->StretchCount()
                          ? m_recording->InfoOf(m_stretch).programNum
                          : 0;
    m_hasShownSource = m_recording != nullptr;
    m_showsNeedOfTime = m_state.run == Run::Playing || !m_pending.empty() ||
                        (m_state.run == Run::Paused && m_state.waitingForUnmute);
}

std::vector<ChannelStretchInfo> PlaybackEngine::Stretches() {
    const Work work(*this);
    std::vector<ChannelStretchInfo> stretches;
    for (std::size_t i = 0; m_recording && i < m_recording->StretchCount(); ++i) {
        const auto begin = static_cast<std::int64_t>(m_recording->StretchBegin(i));
        stretches.push_back({begin, m_recording->InfoOf(i)});
    }
    return stretches;
}

bool PlaybackEngine::IsSourceBeingWritten() {
    const Work work(*this);
    return m_recording && m_recording->IsBeingWritten();
}

TimeSource PlaybackEngine::TimesFrom() {
    const Work work(*this);
    return m_recording ? m_recording->TimesFrom() : TimeSource::None;
}

// --- Clock ---------------------------------------------------------------------------------------

void PlaybackEngine::Advance(Milliseconds elapsed) {
    {
        const Work work(*this);
        const bool isRunning = m_state.run == Run::Playing || m_state.run == Run::Paused;
        if (isRunning && FollowFile())
            LookForUnit();
        m_left = elapsed.count();
        m_due = m_pending.size();
    }
    while (const std::optional<Message> message = NextMessage())
        m_deliver(message->type, message->content);
}

bool PlaybackEngine::NeedsTime() const {
    const Lock lock(m_shownMutex);
    return m_showsNeedOfTime;
}

void PlaybackEngine::Close() {
    const Work work(*this);
    m_isClosed = true;
}

void PlaybackEngine::Post(TVCallbackType type, const PlayerMessage &message) {
    if (!m_isClosed)
        m_pending.push_back({type, message});
}

/// Nothing of the old place is reported any more.
void PlaybackEngine::Forget() {
    m_pending.clear();
    m_due = 0;
}

/// @return what was pending when the running Advance began, then what the clock runs into
std::optional<PlaybackEngine::Message> PlaybackEngine::NextMessage() {
    const Work work(*this);
    if (m_pending.empty()) {
        RunClock();
        m_due = m_pending.size();
    }
    if (m_due == 0)
        return std::nullopt;
    --m_due;
    const Message message = m_pending.front();
    m_pending.pop_front();
    return message;
}

/// Plays up to the next border or end of the recording, or until the time is used up.
void PlaybackEngine::RunClock() {
    if (m_state.run != Run::Playing || m_left <= 0 || !m_recording->HasStreamTime())
        return;
    const bool forward = m_state.rate > 0;
    const bool hasBorder = forward ? m_stretch + 1 < m_recording->StretchCount() : m_stretch > 0;
    const double limit =
        forward ? StretchEnd() : (hasBorder ? m_recording->StretchBegin(m_stretch) : 0.0);
    const double target = m_position + m_left * m_state.rate;
    if (forward ? target < limit : target > limit) {
        m_left = 0;
        MoveTo(target);
        return;
    }
    if (!hasBorder) {
        m_left = 0;
        ReachEdge(forward ? Edge::End : Edge::Begin);
        return;
    }
    m_left -= (limit - m_position) / m_state.rate;
    CrossBorder(forward);
}

void PlaybackEngine::MoveTo(double position) {
    const bool leftBegin = m_edge == Edge::Begin && position > 0;
    const bool leftEnd =
        m_edge == Edge::End && (position < m_position || position < Duration() - kBehindEnd);
    if (leftBegin || leftEnd)
        m_edge = Edge::None;
    m_position = position;
}

/// A border is where the later one of its two stretches begins.
void PlaybackEngine::CrossBorder(bool forward) {
    const std::size_t later = forward ? m_stretch + 1 : m_stretch;
    MoveTo(m_recording->StretchBegin(later));
    m_stretch = forward ? later : later - 1;
    PlayerMessage message;
    message.subEventType = kPlayerChannelChanged;
    message.timeCode = TimeCode(m_position);
    Post(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, message);
}

/// Stays at an end of the recording. The rate is kept: the file may grow, and what a service thinks
/// the rate is stays right until it asks for another one.
void PlaybackEngine::ReachEdge(Edge edge) {
    m_position = edge == Edge::End ? Duration() : 0.0;
    if (m_edge == edge)
        return;
    m_edge = edge;
    PlayerMessage message;
    message.subEventType = edge == Edge::End ? kPlayerEndReached : kPlayerBeginReached;
    message.timeCode = TimeCode(m_position);
    Post(TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION, message);
}

void PlaybackEngine::Place(double position, double rate) {
    m_state.rate = rate;
    m_position = std::clamp(position, 0.0, Duration());
    m_stretch = m_recording ? m_recording->StretchAt(m_position, rate > 0) : 0;
    m_left = 0;
    m_edge = Edge::None;
}

void PlaybackEngine::PlayFrom(double position, double rate) {
    m_state.run = Run::Playing;
    Place(position, rate);
    ExpectUnit();
    if (position < 0)
        ReachEdge(Edge::Begin);
    else if (position > Duration())
        ReachEdge(Edge::End);
}

double PlaybackEngine::StretchEnd() const {
    const bool isLast = m_stretch + 1 >= m_recording->StretchCount();
    return isLast ? Duration() : m_recording->StretchBegin(m_stretch + 1);
}

bool PlaybackEngine::FollowFile() {
    if (m_recording->Follow())
        return true;
    if (m_state.run != Run::Stopped)
        Fail(kPlayerErrorSource, kPlayerNoSource);
    return false;
}

// --- Decoding ------------------------------------------------------------------------------------

PlaybackEngine::Decoded PlaybackEngine::DecodedStream() const {
    if (m_state.hasVideo != 0 && ts::IsStreamPid(m_state.videoPid))
        return {UnitKind::Video, m_state.videoPid};
    return {UnitKind::Audio, ts::IsStreamPid(m_state.audioPid) ? m_state.audioPid : -1};
}

void PlaybackEngine::ExpectUnit() {
    m_state.waitingForUnmute = m_state.run != Run::Stopped;
    m_lookedFrom = kInfinity;
    m_lookedTo = -kInfinity;
}

/// Looks around the position for a unit of the decoded stream, ahead in the direction of play. What
/// was searched once without success is not read again while the position moves on.
void PlaybackEngine::LookForUnit() {
    const Decoded decoded = DecodedStream();
    if (!m_state.waitingForUnmute || decoded.pid < 0 || m_stretch >= m_recording->StretchCount())
        return;
    const bool forward = m_state.rate > 0;
    double from = m_position - (forward ? kStillShown : kReadAhead);
    double to = std::min(StretchEnd(), m_position + (forward ? kReadAhead : kStillShown));
    if (forward)
        from = std::max(from, m_lookedTo);
    else
        to = std::min(to, m_lookedFrom);
    if (from > to)
        return;
    m_lookedFrom = from;
    m_lookedTo = to;
    if (!m_recording->FindUnit(decoded.kind, decoded.pid, m_stretch, from, to))
        return;
    m_state.waitingForUnmute = false;
    const bool isVideo = decoded.kind == UnitKind::Video;
    Post(isVideo ? TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE : TV_PLAYER_CALLBACK_AUDIODEC_AUDIO_INFO_LOCK,
         {});
}

}  // namespace tvdesktop
