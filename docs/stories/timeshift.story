# Timeshift

A service buffers a channel, plays the buffer while it is written, and keeps it as a recording. [How
to read this page](README.md).

## Record into a buffer

The recorder is set up as for a [recording](record.md), with one difference: the timeshift flag.

- mox_pvr_set_recorder_handle(tvRecorder)
- recorder.SetHandle handle=3 serviceId=1042

> recorder.SetSinkProperty path=/pvr/buffer.ts isTimeshift=1

- recorder.SetChannelInfoProperty programNumber=1042 videoPid=0x100 videoCodec=4 \
  audioPid=0x101 audioCodec=3 multiSoundMode=1 pcrPid=0x100
- recorder.SetDemuxProperty videoPid=0x100 audioPid=0x101 pcrPid=0x100

How much time fits the disk that the service gives to the buffer? The size is in the platform's
unit, KiB on the desktop stand-in.

! timeshift-duration 5400000

> recorder.GetTSDuration diskSize=8388608

> recorder.Start

The start event reports record type 3.

## Play the buffer

! channel 0 videoPid=0x100 videoCodec=4 audioPid=0x101 audioCodec=3 multiSoundMode=1 pcrPid=0x100

The viewer paused at 95 s. A playback opens the buffer there while the recorder writes it.

- mox_pvr_set_tv_player(tvPlayer)
- mox_pvr_set_tv_stream(tvStream)
- player = MoxPvrAPI::GetPlaybackInstance(MOXHandle{PROFILE_TYPE_MAIN, 0})
- playback.SetHandle handle=4

> playback.SetProperty path=/pvr/buffer.ts startPosition=95000 isTimeshift=1

- playback.Reset
- playback.Start
- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## Keep it

The swap makes a recording of the buffer, from its start, while it is written. Path and flags are
sent as in `SetSinkProperty`; everything else continues.

> recorder.SwapTS2Record path=/pvr/kept.srf

The start event comes again, with the record type still 3; a recording that started as such has 1. A
swap that fails sends no event ([errors](../errors.md#recorder)).

## Continue from the recording

On the desktop stand-in the file has another name now, and a player that has it open learns of no
further [channel change](channel-change.md). The service stops this playback and gives the recording
an instance of its own, at the position where the viewer is.

! position 140000 151000

> playback.GetProgress

- playback.Stop
- MoxPvrAPI::DestroyPlayback(MOXHandle{PROFILE_TYPE_MAIN, 0})
- mox_pvr_set_tv_stream(tvStream)
- player = MoxPvrAPI::GetPlaybackInstance(MOXHandle{PROFILE_TYPE_MAIN, 0})
- playback.SetHandle handle=5

> playback.SetProperty path=/pvr/kept.srf startPosition=140000

- playback.Reset
- playback.Start
- player TV_PLAYER_CALLBACK_VIDEODEC_UNMUTE

## End

- recorder.Stop
- recorder.ClearDemuxInfo

Without the CI flag of `SetHandle` the state stays "recording" (1) after the stop:

> recording = MoxPvrAPI::GetRecorderInstance(MOXHandle{PROFILE_TYPE_RECORD, 0})

> recording->GetState(state)

- playback.Stop
- MoxPvrAPI::DestroyPlayback(MOXHandle{PROFILE_TYPE_MAIN, 0})
- MoxPvrAPI::DestroyRecorder(MOXHandle{PROFILE_TYPE_RECORD, 0})
