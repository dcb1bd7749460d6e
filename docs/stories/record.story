# Record

A service records program 1042 to `/pvr/news.srf`. [How to read this page](README.md).

## Register the recorder

The tuner is set, and the service has created a platform recorder for it. Registering makes the
instance that all requests go to, under the handle (301, 0), and registers the library's callback
with the platform.

> mox_pvr_set_recorder_handle(tvRecorder)

## Name recorder and service

The handle number is byte 0 of every event 31 of this recorder, so that the service can tell its
instances apart. The service id comes with the start event. The CI flag makes the state follow
command 9.

> recorder.SetHandle handle=3 serviceId=1042 ci=1

## Name the file

Before the start, as the start event reports the type of the sink: 1, a recording.

> recorder.SetSinkProperty path=/pvr/news.srf

## Describe the channel

What is known of the channel now is what a playback has later: the platform keeps it with the
recording and gives it back for every position. Codecs are [numbers of the
platform](../protocol.md#codec-numbers).

> recorder.SetChannelInfoProperty programNumber=1042 major=7 minor=1 videoPid=0x100 videoCodec=4 \
  audioPid=0x101 audioCodec=3 multiSoundMode=1 pcrPid=0x100

## Program the streams

Video, clock and audio go to the platform in one call, and into the list that command 14 removes again.

> recorder.SetDemuxProperty videoPid=0x100 audioPid=0x101 pcrPid=0x100

## Add the tables

A recording that other players can open has PAT and PMT too. Each PID is programmed by a call of its
own; a PID that an earlier update has named is left out.

> recorder.UpdateSi pids=0,0x1000

The PMT names subtitles later, while everything else stays:

> recorder.UpdateSi pids=0,0x1000,0x102

## Limit the duration

Half an hour, in the unit of the TV; here milliseconds.

> recorder.SetDuration duration=1800000

## Start

Tuner and demultiplexer are readied first, so that the recording starts at once.

> recorder.PreStart

> recorder.Start

From here on the service shows that it records. The state is "recording".

## The first packets are written

The platform reports it by a message to the library's callback. Parameter -1 in `second` and `third`
is what a recorder's message carries.

> platform TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION app_type=2 app_param=0

## Ask for the progress

! position 61500 61500

> recorder.GetProgress

## The duration is reached

The platform's recorder ends by itself and reports how much it has written. On the desktop stand-in
this is the message's parameter.

> platform TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION app_type=4 app_param=1800000

The event changes nothing in the library: the service stops the recorder and clears its PIDs. A
result other than 0 here means that the file may be incomplete ([errors](../errors.md#recorder)).

> recorder.Stop

> recorder.ClearDemuxInfo

The PIDs of `SetDemuxProperty` come first in the list, those of the updates after them.

## A recording that fails

The instance records again, into another file. It keeps handle number and service id.

- recorder.SetSinkProperty path=/pvr/late.srf
- recorder.SetDemuxProperty videoPid=0x100 audioPid=0x101 pcrPid=0x100
- recorder.Start

The platform reports an error; code 4 of the desktop stand-in is a full disk. One more line goes to
standard error ([log](../log.md)).

> platform TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR code=4

The library stops nothing by itself. The service does, and keeps what was written:

- recorder.Stop
- recorder.ClearDemuxInfo

## Done

The service has written an [information file](../protocol.md#information-file) for each recording,
`/pvr/news.inf` and `/pvr/late.inf`. It releases its platform recorder, and then destroys the
instance: [ownership](../ownership.md). A recorder that will record again stays registered.

> MoxPvrAPI::DestroyRecorder(MOXHandle{PROFILE_TYPE_RECORD, 0})
