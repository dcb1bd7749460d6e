/// @file
/// The TV's player library: the transport of one playback.
///
/// Every function answers 0 on success and a non-zero code of the library otherwise. Positions and
/// durations are in the TV's own unit, milliseconds of stream time in the desktop stand-in. The
/// player belongs to whoever created it. Its callbacks go to the PVR service, which passes them on.
///
/// Threads: the calls come from the threads on which the service sends requests and passes
/// callbacks on.
#ifndef TVPLATFORM_TV_PLAYER_H
#define TVPLATFORM_TV_PLAYER_H

#include "TVTypes.h"

extern "C" {

/// Readies the player for playback.
/// @param player  the object to drive
/// @return        0 on success
int tv_player_ready(void *player);

/// Pauses playback.
/// @param player  the object to drive
/// @return        0 on success
int tv_player_pause(void *player);

/// Continues a paused playback.
/// @param player  the object to drive
/// @return        0 on success
int tv_player_resume(void *player);

/// Shows the next picture of a paused playback.
/// @param player  the object to drive
/// @return        0 on success
int tv_player_step_play(void *player);

/// Continues at another rate.
/// @param player    the object to drive
/// @param position  where the change was asked for
/// @param rate      1.0 normal, below 1.0 slow, negative backwards
/// @return          0 on success
int tv_player_set_play_speed(void *player, long long position, double rate);

/// Moves to a position and continues from there.
/// @param player    the object to drive
/// @param position  where to
/// @param rate      as above
/// @return          0 on success; the unmute that follows comes after the return
int tv_player_set_position(void *player, long long position, double rate);

/// Asks how far playback is.
/// @param player    the object to ask
/// @param position  out: what is played now
/// @param duration  out: of the whole source
/// @return          0 on success
int tv_player_get_position(void *player, long long *position, long long *duration);
}

#endif
