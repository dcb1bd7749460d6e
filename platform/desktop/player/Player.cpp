#include "player/Player.h"

#include <chrono>
#include <cmath>
#include <memory>
#include <utility>

namespace tvdesktop {

namespace {

/// Real time between two looks at the playback: finer than a picture lasts.
constexpr std::chrono::milliseconds kTick{20};

bool IsFactor(double factor) {
    return std::isfinite(factor) && factor > 0;
}

}  // namespace

Player::Player(const PlayerOptions &options)
    : PlayerObject(kKind),
      m_clockFactor(IsFactor(options.clockFactor) ? options.clockFactor : 1.0),
      m_stream(*this),
      m_engine(
          [this](TVCallbackType type, const PlayerMessage &message) { Deliver(type, message); }),
      m_clock([this] { RunClock(); }) {}

Player::~Player() {
    {
        const std::lock_guard<std::mutex> lock(m_clockMutex);
        m_isEnding = true;
    }
    m_engine.Close();
    m_wake.notify_one();
    m_clock.join();
}

void Player::SetCallback(PlayerCallback callback) {
    const std::lock_guard<std::mutex> lock(m_callbackMutex);
    m_callback = std::move(callback);
}

void Player::Wake() {
    {
        // Waits until the clock thread has either not yet asked NeedsTime or already sleeps.
        const std::lock_guard<std::mutex> lock(m_clockMutex);
    }
    m_wake.notify_one();
}

void Player::Advance(PlaybackEngine::Milliseconds elapsed) try {
    m_engine.Advance(elapsed);
} catch (...) {  // no memory for the index: the next tick tries again
}

/// Time in which nothing plays does not pass for the engine; all other time does, also what Advance
/// itself takes, so that playback keeps step with the clock on the wall.
void Player::RunClock() {
    using Clock = std::chrono::steady_clock;
    std::unique_lock<std::mutex> lock(m_clockMutex);
    Clock::time_point played = Clock::now();
    while (!m_isEnding) {
        if (!m_engine.NeedsTime()) {
            m_wake.wait(lock);
            played = Clock::now();
            continue;
        }
        if (m_wake.wait_for(lock, kTick, [this] { return m_isEnding; }))
            break;
        lock.unlock();
        const Clock::time_point now = Clock::now();
        Advance((now - played) * m_clockFactor);
        played = now;
        lock.lock();
    }
    lock.unlock();
    Advance(PlaybackEngine::Milliseconds::zero());  // delivers what is pending
}

void Player::Deliver(TVCallbackType type, const PlayerMessage &message) try {
    PlayerCallback callback;
    {
        const std::lock_guard<std::mutex> lock(m_callbackMutex);
        callback = m_callback;
    }
    if (callback)
        callback(type, message);
} catch (...) {  // what a service throws must not end the clock
}

// --- What TvDesktop.h offers ---------------------------------------------------------------------

void *CreatePlayer(const PlayerOptions &options) try {
    return static_cast<PlatformObject *>(std::make_unique<Player>(options).release());
} catch (...) {
    return nullptr;
}

void *StreamOf(void *player) {
    Player *owner = ObjectAs<Player>(player);
    return owner == nullptr ? nullptr : static_cast<PlatformObject *>(&owner->GetStream());
}

void SetPlayerCallback(void *player, PlayerCallback callback) {
    if (Player *target = ObjectAs<Player>(player))
        target->SetCallback(std::move(callback));
}

void DestroyPlayer(void *player) {
    Player *target = ObjectAs<Player>(player);
    if (target != nullptr && !target->IsCallingBack())
        delete target;
}

PlayerState GetPlayerState(void *player) {
    Player *source = ObjectAs<Player>(player);
    return source == nullptr ? PlayerState{} : source->Engine().State();
}

std::vector<ChannelStretchInfo> GetChannelStretches(void *player) {
    Player *source = ObjectAs<Player>(player);
    return source == nullptr ? std::vector<ChannelStretchInfo>{} : source->Engine().Stretches();
}

TimeSource GetTimeSource(void *player) try {
    Player *source = ObjectAs<Player>(player);
    return source == nullptr ? TimeSource::None : source->Engine().TimesFrom();
} catch (...) {
    return TimeSource::None;
}

bool IsSourceBeingWritten(void *player) try {
    Player *source = ObjectAs<Player>(player);
    return source != nullptr && source->Engine().IsSourceBeingWritten();
} catch (...) {
    return false;
}

}  // namespace tvdesktop
