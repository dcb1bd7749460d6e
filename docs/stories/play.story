# Play

A service plays `/pvr/news.srf`, a recording of one channel. [How to read this page](README.md).

! channel 0 videoPid=0x100 videoCodec=4 audioPid=0x101 audioCodec=3 multiSoundMode=1 pcrPid=0x100

## Register player and stream

The player is remembered; the stream makes the instance, under the handle (1, 0). The service looks
it up once: callbacks need it, and lookups do not belong on a callback thread
([threads](../threads.md)).

> mox_pvr_set_tv_player(tvPlayer)

> mox_pvr_set_tv_stream(tvStream)

> player = MoxPvrAPI::GetPlaybackInstance(MOXHandle{PROFILE_TYPE_MAIN, 0})

## Name the playback

> playback.SetHandle handle=4 ci=1

## Open the recording

The platform has the channel information that was recorded. The library reads it at the start
position, and programs the PIDs that it finds there: clock and video, then audio.

> playback.SetProperty path=/pvr/news.srf startPosition=0

No codec is programmed yet. `Reset` does that:

> playback.Reset

## Start

> playback.Start

The first picture unmutes the source, and lets the picture go. The event reports that there is
something to see and hear.

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## Ask for the progress

! position 20040 1800000

> playback.GetProgress

## Pause and continue

The state follows these two always, also without the CI flag: "paused" after the first,

> playback.Pause

and "play" after the second:

> playback.Resume

## Fast forward

The sound is muted and the picture held before the rate changes.

> playback.TrickPlay time=31000 rate=4.0

The first picture at the new rate lets the picture go:

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

The sound stays muted, as it should be at this rate.

## Back to normal speed, with sound

The library mutes the sound at every rate, 1.0 included, and never lifts it:

> playback.TrickPlay time=63000 rate=1.0

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

After this event the service lifts the mute itself, as the rate that it asked for last is 1.0:

> tv_stream_set_property(tvStream, TV_PROPERTY_AUDIO_SINK_MUTE, 0, 0)

## Skip

The same channel is recorded at the target, so the player only moves there.

> playback.Skip time=600000 rate=1.0

The unmute that follows each move of the player:

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## The end

On the desktop stand-in application message 0 is the end of the recording. The library forwards it;
what to do, the service decides. This one stops.

> player TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION SubEventType=0 timeCode=1800000

> playback.Stop

## Done

Each recording gets an instance of its own ([why](../protocol.md#one-instance-per-recording)): the
service delivers or discards the callbacks that are left, and destroys this one. No platform call is
made; player and stream are the service's.

> MoxPvrAPI::DestroyPlayback(MOXHandle{PROFILE_TYPE_MAIN, 0})
