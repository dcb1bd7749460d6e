/// @file
/// The player object behind tv_player_*, with the stream object behind tv_stream_*.
#ifndef TVDESKTOP_PLAYER_PLAYER_H
#define TVDESKTOP_PLAYER_PLAYER_H

#include <TvDesktop.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "player/PlaybackEngine.h"
#include "system/PlatformObject.h"

namespace tvdesktop {

class Player;

/// The stream of a player: only another name for it.
struct Stream : PlatformObject {
    static constexpr Kind kKind = Kind::Stream;

    explicit Stream(Player &owner) : PlatformObject(kKind), player(owner) {}
    Player &player;
};

/// Drives a PlaybackEngine with the machine's monotonic clock, on a thread of its own that lives as
/// long as the player. The user's callback runs on that thread, without a lock held. The destructor
/// lets it hear what is pending and ends.
///
/// Threads: thread-safe, except that the destructor must not run inside a callback.
class Player : public PlatformObject {
  public:
    static constexpr Kind kKind = Kind::Player;

    explicit Player(const PlayerOptions &options);
    ~Player();

    PlaybackEngine &engine() { return m_engine; }
    Stream &stream() { return m_stream; }

    void SetCallback(PlayerCallback callback);

    /// Lets the clock thread see what a command has changed.
    void Wake();

    /// @return whether the caller runs inside a callback
    bool IsCallingBack() const { return std::this_thread::get_id() == m_clock.get_id(); }

  private:
    void RunClock();
    void Advance(PlaybackEngine::Milliseconds elapsed);
    void Deliver(TVCallbackType type, const PlayerMessage &message);

    const double m_clockFactor;
    Stream m_stream;
    PlaybackEngine m_engine;

    std::mutex m_callbackMutex;
    PlayerCallback m_callback;

    std::mutex m_clockMutex;
    std::condition_variable m_wake;
    bool m_isEnding = false;
    std::thread m_clock;  ///< last, so that it starts when all else is made
};

/// @return the player that a stream belongs to, or null when the pointer is no stream
inline Player *PlayerOfStream(void *stream) {
    auto *object = ObjectAs<Stream>(stream);
    return object == nullptr ? nullptr : &object->player;
}

/// Runs one operation on behalf of a C function, from which no exception may escape.
template <typename Operation>
int Control(Player *player, Operation operation) noexcept try {
    if (player == nullptr)
        return kPlayerNoObject;
    const int result = operation(player->engine());
    player->Wake();
    return result;
} catch (...) {
    return kPlayerOutOfMemory;
}

}  // namespace tvdesktop

#endif
