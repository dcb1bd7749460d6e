# Channel change

A recording continued while the viewer changed channels, so it holds three stretches. Playback has
to set the decoders up anew wherever it enters another one. [How to read this page](README.md); the
rules are in [protocol.md](../protocol.md#channel-changes-inside-a-recording).

! channel 0 videoPid=0x100 videoCodec=4 audioPid=0x101 audioCodec=3 multiSoundMode=1 pcrPid=0x100

! channel 60000 videoPid=0x200 videoCodec=2 audioPid=0x201 audioCodec=1 multiSoundMode=1 pcrPid=0x200

! channel 120000 videoPid=0x300 videoCodec=5 audioPid=0x301 audioCodec=6 multiSoundMode=1 pcrPid=0x300

## Open and start

As in [play](play.md):

- mox_pvr_set_tv_player(tvPlayer)
- mox_pvr_set_tv_stream(tvStream)
- player = MoxPvrAPI::GetPlaybackInstance(MOXHandle{PROFILE_TYPE_MAIN, 0})
- playback.SetHandle handle=4
- playback.SetProperty path=/pvr/evening.srf
- playback.Reset
- playback.Start
- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## A crossing at normal speed

At 60 s the player runs into the second stretch, and reports it. The library reads the channel
information there, programs PIDs and codecs, and moves the player to the crossing. No event is sent
for it.

> player TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION SubEventType=3 timeCode=60000

The first picture of the new channel. Nothing was pending, so this is an ordinary unmute.

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## A crossing in fast forward

The rate that counts for a crossing is that of the last command 6:

> playback.TrickPlay time=70000 rate=4.0

The first picture at the new rate, as in [play](play.md#fast-forward):

- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

At 120 s comes the third stretch. The library sets the decoders up at 1.0, and remembers where and
at what rate to continue: a channel change is pending.

> player TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION SubEventType=3 timeCode=120000

Until the decoders are ready, requests that would change rate or place are dropped, with answer 0
and a line at priority 16:

> playback.TrickPlay time=120000 rate=1.0

> playback.Skip time=10000 rate=1.0

The first picture ends the change: the player goes to the crossing at the rate that was remembered.
The picture stays held until the next unmute, which comes for that move.

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

The unmute of the move:

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## A crossing in rewind

- playback.TrickPlay time=150000 rate=-4.0
- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

Backward the player reaches the border at 120 s from above. The decoders need a run-up inside the
second stretch, which lies before the border: they are set up for 10 s earlier, and the callback's
record reports that.

> player TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION SubEventType=3 timeCode=120000

The unmute moves the player to the border itself, in rewind again:

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

The next one lets the picture go:

- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## Back to normal speed

As in [play](play.md#back-to-normal-speed-with-sound):

- playback.TrickPlay time=90000 rate=1.0
- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE
- tv_stream_set_property(tvStream, TV_PROPERTY_AUDIO_SINK_MUTE, 0, 0)

## A skip into another channel

The first stretch is recorded at 10 s. The decoders are set up for it, and the player moves there.
At 1.0 nothing is left pending, and the unmute is an ordinary one.

> playback.Skip time=10000 rate=1.0

- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

During fast forward a skip into another channel leaves a change pending, as a crossing does:

- playback.TrickPlay time=20000 rate=2.0
- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

> playback.Skip time=130000 rate=2.0

The unmute ends it, at the rate of the request:

> player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## End

- playback.Stop
- MoxPvrAPI::DestroyPlayback(MOXHandle{PROFILE_TYPE_MAIN, 0})
