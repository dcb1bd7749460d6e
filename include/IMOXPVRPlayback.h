/// @file
/// How the TV's services see one playback instance.
#ifndef MOXPVR_IMOXPVRPLAYBACK_H
#define MOXPVR_IMOXPVRPLAYBACK_H

#include <string>

#include <TVTypes.h>

#include "MOXHandle.h"
#include "MoxPvrExport.h"

/// One playback: a platform player and its stream while they play one recording or timeshift
/// buffer.
///
/// The registry of the library owns every instance; MoxPvrAPI::GetPlaybackInstance lends it. The
/// slots below are the binary interface: their order and number never change.
///
/// Unless a slot says otherwise it answers 0 on success, 1 for a missing player, record or channel
/// information, and otherwise the platform's own result.
///
/// Threads: calls come from one thread at a time. Hand the platform's callbacks to DoTvpCallback
/// between requests; concurrent delivery is free of data races, but the programming of decoders may
/// interleave. Registration, lookup and destruction run alone: a service keeps the instance pointer
/// and makes no facade call on a callback thread. No slot throws.
class MOXPVR_EXPORT IMOXPVRPlayback {
  public:
    /// What the playback last did with success. Start, Ready and Stop move it only for services
    /// received through a CI module.
    enum ePvrPlaybackState : unsigned int {
        E_PLAYBACK_STATE_NONE = 0,
        E_PLAYBACK_STATE_PLAY = 1,
        E_PLAYBACK_STATE_PAUSED = 2,
        E_PLAYBACK_STATE_STOPPED = 3,
        E_PLAYBACK_STATE_PENDING = 4,  ///< for observers; the library never enters it
    };

    /// How the recorded service was received.
    enum eRecordedFileType : unsigned int {
        E_RECORDED_FILE_TYPE_DTV = 0,  ///< digital recording
        E_RECORDED_FILE_TYPE_ATV = 1,  ///< analogue recording
    };

    /// All streams at once, for SetPlaybackProperty. The codec numbers are the platform's and go
    /// out unconverted.
    struct MOXPVRPlaybackProperty {
        unsigned int videoPid;   ///< stream property 104
        unsigned int audioPid;   ///< stream property 103
        unsigned int pcrPid;     ///< stream property 109
        unsigned int videoType;  ///< codec, stream property 509
        unsigned int audioType;  ///< codec, stream property 314
    };

    /// What a platform callback carries.
    struct MOXPVRPlaybackCallbackProperty {
        int SubEventType;  ///< 0 and 1 are forwarded; 3: another channel's stretch starts
        int timeCode;      ///< in the player's time unit; rewritten when rewinding over 3
        int errCode;       ///< 1 and 3 are forwarded
    };

    /// Carries out one control request (the playback commands of docs/protocol.md).
    /// @param inSize   as IMOXPVRRecorder::CtrlRecorder; so are the others
    /// @param inData   request text
    /// @param outSize  out: characters of reply text
    /// @param outData  reply buffer; only command 9 refuses a null one
    /// @return         as there; 1 also for a command that needs the player when there is none
    virtual unsigned int CtrlPlayback(unsigned int inSize, unsigned char *inData,
                                      unsigned int &outSize, unsigned char *outData) = 0;

    /// Applies the PIDs that changed; 0xFFFFFFFE keeps one. The audio PID changes only when all
    /// audio PIDs are descrambled and the source is not a timeshift buffer; the codecs of the
    /// recording are then programmed again.
    /// @param videoPid  in the recording
    /// @param audioPid  in the recording
    /// @param pcrPid    in the recording
    /// @return  0, also when nothing changed; with a new audio PID the result for the codecs
    virtual unsigned int SetPidProperty(unsigned int videoPid, unsigned int audioPid,
                                        unsigned int pcrPid) = 0;

    /// The same with the caller's codec numbers. 0xFFFF in any PID refuses the whole request, with
    /// result 0.
    /// @param videoPid        in the recording
    /// @param videoCodecType  for property 509; sent when video and audio PID change
    /// @param audioPid        in the recording
    /// @param audioCodecType  for property 314; sent when the audio PID changes
    /// @param pcrPid          in the recording
    /// @return  0, also when nothing changed; with a new audio PID the result for the codecs
    virtual unsigned int SetPidProperty(unsigned int videoPid, unsigned int videoCodecType,
                                        unsigned int audioPid, unsigned int audioCodecType,
                                        unsigned int pcrPid) = 0;

    /// Remembers video and PCR without sending them; sends a changed audio PID or codec at once,
    /// unless the video changed with it: a channel change sends all of them then. The sound mode is
    /// sent with every call that changes no video.
    /// 0xFFFE keeps a PID; an audio PID of 0xFFFE with another codec is sent as it is.
    /// @param video  PIDs and codec, in the numbers of TVTypes.h
    /// @param audio  PID, codec and sound mode; the mode is sent when the video stays
    /// @return       0, whatever the platform answers
    virtual unsigned int SetPidProperty(TSVideo video, TSAudio audio) = 0;

    /// The same, also for a timeshift buffer; an audio PID of 0xFFFE changes no audio at all.
    /// @param video      PIDs and codec, in the numbers of TVTypes.h
    /// @param audio      PID, codec and sound mode; the mode is sent when the video stays
    /// @param selection  who chose the audio; only logged
    /// @return           0, whatever the platform answers
    virtual unsigned int SetPidProperty(TSVideo video, TSAudio audio,
                                        EAudioSelectionType selection) = 0;

    /// Switches audio description on, or changes its PID; the same PID again changes nothing.
    /// @param ad  PID, and codec in the numbers of TVTypes.h
    /// @return    0, or the platform's result; then the earlier PID and codec stay remembered
    virtual unsigned int SetADProperty(TSAudio ad) = 0;

    /// Clears PID and codec of audio description and switches it off.
    /// @return the platform's result of switching it off
    virtual unsigned int DisableADProperty() = 0;

    /// The PIDs at the start of the recording (time 0); written on success only.
    /// @param videoPid  out; 0 or 0xFFFF: no video
    /// @param audioPid  out
    /// @param pcrPid    out
    /// @return          0; 1 when the platform has no channel information; else its result
    virtual unsigned int GetPidProperty(unsigned int &videoPid, unsigned int &audioPid,
                                        unsigned int &pcrPid) = 0;

    /// The PIDs of any recording, from its information file.
    /// @param uri       path of the recording; the information file's extension is `inf`
    /// @param videoPid  out, as the file holds it; so are the next two
    /// @param audioPid  out
    /// @param pcrPid    out
    /// @return 0, or 1 when the information file cannot be read (outputs untouched)
    virtual unsigned int GetPidPropertyByUri(std::string uri, unsigned int &videoPid,
                                             unsigned int &audioPid, unsigned int &pcrPid) = 0;

    /// Applies all five values in one call and remembers none of them.
    /// @param property  read during the call only
    /// @return          0; 1 without a player; else the platform's result
    virtual unsigned int SetPlaybackProperty(MOXPVRPlaybackProperty property) = 0;

    /// Whether the recording being played is analogue, from its information file.
    /// @param type  out
    /// @return 0, or 1 when the information file cannot be read (output untouched)
    virtual unsigned int GetFileType(eRecordedFileType &type) = 0;

    /// Callback hook without a record; only the call is logged.
    /// @param type      ignored
    /// @param data      ignored, the caller's
    /// @param userData  ignored, the caller's
    virtual void DoTvpCallback(TVCallbackType type, void *data, void *userData) = 0;

    /// Takes a callback of the platform player.
    /// @param type      16, 23, 30 or 31; every other type does nothing
    /// @param property  belongs to the caller; `timeCode` may be rewritten; may be null
    virtual void DoTvpCallback(TVCallbackType type, MOXPVRPlaybackCallbackProperty *property) = 0;

    /// @param name  out: path of the recording, empty before command 2
    /// @return 0, or 1 when the copy found no memory
    virtual unsigned int GetFileName(std::string &name) = 0;

    /// @param handle  out: the registry key of this instance
    /// @return 0
    virtual unsigned int GetMoxHandle(MOXHandle &handle) = 0;

    /// In the player's time unit. A failed platform call is not reported: the outputs hold what it
    /// left, 0 when it wrote nothing.
    /// @param position  out: what is played now
    /// @param duration  out: of the whole source
    /// @return 0, or 1 without a player (outputs untouched)
    virtual unsigned int GetPlaybackProgress(long &position, long &duration) = 0;

    /// @param state  out: see @ref ePvrPlaybackState
    /// @return 0
    virtual unsigned int GetState(ePvrPlaybackState &state) = 0;

    virtual ~IMOXPVRPlayback() = default;
};

#endif
