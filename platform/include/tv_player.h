/// @file
/// The TV's player library: the transport of one playback.
///
/// Every function answers 0 on success and a non-zero code of the library otherwise. Positions and
/// durations are milliseconds of stream time. The player belongs to whoever created it. Its
/// callbacks go to the PVR service, which hands them on.
#ifndef TVPLATFORM_TV_PLAYER_H
#define TVPLATFORM_TV_PLAYER_H

#include "TVTypes.h"

extern "C" {

int tv_player_ready(void *player);
int tv_player_pause(void *player);
int tv_player_resume(void *player);

/// Shows the next picture of a paused playback.
int tv_player_step_play(void *player);

/// Plays on at another rate.
/// @param position  where the change was asked for
/// @param rate      1.0 normal, below 1.0 slow, negative backwards
int tv_player_set_play_speed(void *player, long long position, double rate);

/// Moves to a position and plays on from there at `rate`.
int tv_player_set_position(void *player, long long position, double rate);

int tv_player_get_position(void *player, long long *position, long long *duration);
}

#endif
