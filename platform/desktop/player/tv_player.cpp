#include <tv_player.h>

#include "player/Player.h"

using tvdesktop::Control;
using tvdesktop::PlaybackEngine;
using tvdesktop::Player;

int tv_player_ready(void *player) {
    return Control<Player>(player, &PlaybackEngine::Ready);
}

int tv_player_pause(void *player) {
    return Control<Player>(player, &PlaybackEngine::Pause);
}

int tv_player_resume(void *player) {
    return Control<Player>(player, &PlaybackEngine::Resume);
}

int tv_player_step_play(void *player) {
    return Control<Player>(player, &PlaybackEngine::Step);
}

// Callers pass the time at which the viewer asked, which is past when the call arrives; moving
// there would jump, and over a border without a report.
int tv_player_set_play_speed(void *player, long long /*position*/, double rate) {
    return Control<Player>(player, &PlaybackEngine::SetSpeed, rate);
}

int tv_player_set_position(void *player, long long position, double rate) {
    return Control<Player>(player, &PlaybackEngine::Seek, position, rate);
}

int tv_player_get_position(void *player, long long *position, long long *duration) {
    return Control<Player>(player, &PlaybackEngine::GetPosition, position, duration);
}
