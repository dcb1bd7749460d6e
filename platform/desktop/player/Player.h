/// @file
/// The player object of tv_player_*, with the stream object of tv_stream_*.
#ifndef TVDESKTOP_PLAYER_PLAYER_H
#define TVDESKTOP_PLAYER_PLAYER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "player/PlaybackEngine.h"
#include "system/PlatformObject.h"
#include "TvDesktop.h"

namespace tvdesktop {

class Player;

/// What CallOn answers for players and streams.
struct PlayerObject : PlatformObject {
    static constexpr PlayerCode kNoObject = kPlayerNoObject;
    static constexpr PlayerCode kOutOfResources = kPlayerOutOfResources;

    using PlatformObject::PlatformObject;
};

/// The stream of a player: only another name for it.
struct Stream : PlayerObject {
    static constexpr Kind kKind = Kind::Stream;

    explicit Stream(Player &owner) : PlayerObject(kKind), player(owner) {}
    Player &player;
};

/// Drives a PlaybackEngine with the machine's monotonic clock, on a thread of its own that lives as
/// long as the player. The user's callback runs on that thread, without a lock held. The destructor
/// lets it hear what is pending and ends.
///
/// Threads: thread-safe, except that the destructor must not run inside a callback.
class Player : public PlayerObject {
  public:
    static constexpr Kind kKind = Kind::Player;

    explicit Player(const PlayerOptions &options);
    ~Player();

    PlaybackEngine &Engine() { return m_engine; }
    Stream &GetStream() { return m_stream; }

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

inline Player &PlayerOf(Player &player) {
    return player;
}
inline Player &PlayerOf(Stream &stream) {
    return stream.player;
}

/// Runs an operation of the engine on the player or the stream of a handle, for a C function.
template <typename Object, typename Operation, typename... Values>
int Control(void *handle, Operation operation, Values... values) noexcept {
    return CallOn<Object>(handle, [&](Object &object) {
        Player &player = PlayerOf(object);
        const PlayerCode result = std::invoke(operation, player.Engine(), values...);
        player.Wake();
        return result;
    });
}

}  // namespace tvdesktop

#endif
