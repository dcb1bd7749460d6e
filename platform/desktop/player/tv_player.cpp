#include <tv_player.h>

#include "player/Player.h"

using tvdesktop::Control;
using tvdesktop::ObjectAs;
using tvdesktop::PlaybackEngine;
using tvdesktop::Player;

int tv_player_ready(void *player) {
    return Control(ObjectAs<Player>(player), [](PlaybackEngine &engine) { return engine.Ready(); });
}

int tv_player_pause(void *player) {
    return Control(ObjectAs<Player>(player), [](PlaybackEngine &engine) { return engine.Pause(); });
}

int tv_player_resume(void *player) {
    return Control(ObjectAs<Player>(player),
                   [](PlaybackEngine &engine) { return engine.Resume(); });
}

int tv_player_step_play(void *player) {
    return Control(ObjectAs<Player>(player), [](PlaybackEngine &engine) { return engine.Step(); });
}

// Callers pass the time at which the viewer asked, which is over when the call arrives; moving
// there would jump, and over a border without a word.
int tv_player_set_play_speed(void *player, long long /*position*/, double rate) {
    return Control(ObjectAs<Player>(player),
                   [=](PlaybackEngine &engine) { return engine.SetSpeed(rate); });
}

int tv_player_set_position(void *player, long long position, double rate) {
    return Control(ObjectAs<Player>(player),
                   [=](PlaybackEngine &engine) { return engine.Seek(position, rate); });
}

int tv_player_get_position(void *player, long long *position, long long *duration) {
    return Control(ObjectAs<Player>(player),
                   [=](PlaybackEngine &engine) { return engine.GetPosition(position, duration); });
}
