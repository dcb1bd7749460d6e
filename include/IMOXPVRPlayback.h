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
/// interleave. Registration, lookup and destruction never run beside anything else: a service keeps
/// the instance pointer and makes no facade call on a callback thread. No slot throws.
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

    enum eRecordedFileType : unsigned int {
        E_RECORDED_FILE_TYPE_DTV = 0,  ///< digital recording
        E_RECORDED_FILE_TYPE_ATV = 1,  ///< analogue recording
    };

    /// All streams at once, for SetPlaybackProperty. The codec numbers are the platform's and go
    /// out unconverted.
    struct MOXPVRPlaybackProperty {
        unsigned int videoPid;
        unsigned int audioPid;
        unsigned int pcrPid;
        unsigned int videoType;
        unsigned int audioType;
    };

    /// What a platform callback carries.
    struct MOXPVRPlaybackCallbackProperty {
        int SubEventType;  ///< 0 and 1 are forwarded; 3: another channel's stretch begins
        int timeCode;      ///< in the player's time unit; rewritten when rewinding over 3
        int errCode;       ///< 1 and 3 are forwarded
    };

    /// Carries out one control request (the playback commands of docs/protocol.md, 1 to 13).
    /// Arguments and results as IMOXPVRRecorder::CtrlRecorder.
    virtual unsigned int CtrlPlayback(unsigned int inSize, unsigned char *inData,
                                      unsigned int &outSize, unsigned char *outData) = 0;

    /// Applies the PIDs that changed; 0xFFFFFFFE keeps one. The audio PID changes only when all
    /// audio PIDs are descrambled and the source is no timeshift buffer; the codecs of the
    /// recording are then programmed again.
    virtual unsigned int SetPidProperty(unsigned int videoPid, unsigned int audioPid,
                                        unsigned int pcrPid) = 0;

    /// The same with the caller's codec numbers. 0xFFFF in any PID refuses the whole request, with
    /// result 0.
    virtual unsigned int SetPidProperty(unsigned int videoPid, unsigned int videoCodecType,
                                        unsigned int audioPid, unsigned int audioCodecType,
                                        unsigned int pcrPid) = 0;

    /// Remembers video and PCR without sending them; applies a changed audio PID or codec at once.
    /// 0xFFFE keeps a PID; an audio PID of 0xFFFE with another codec is sent as it is.
    virtual unsigned int SetPidProperty(TSVideo video, TSAudio audio) = 0;

    /// The same, also for a timeshift buffer; an audio PID of 0xFFFE changes no audio at all.
    virtual unsigned int SetPidProperty(TSVideo video, TSAudio audio,
                                        EAudioSelectionType selection) = 0;

    /// Switches audio description on, with the PID and codec of `ad`.
    virtual unsigned int SetADProperty(TSAudio ad) = 0;
    virtual unsigned int DisableADProperty() = 0;

    /// The PIDs at the beginning of the recording; written on success only.
    virtual unsigned int GetPidProperty(unsigned int &videoPid, unsigned int &audioPid,
                                        unsigned int &pcrPid) = 0;

    /// The PIDs of any recording, from its information file.
    /// @param uri  path of the recording; the information file's extension is `inf`
    /// @return 0, or 1 when the information file cannot be read (outputs untouched)
    virtual unsigned int GetPidPropertyByUri(std::string uri, unsigned int &videoPid,
                                             unsigned int &audioPid, unsigned int &pcrPid) = 0;

    /// Applies all five values in one call and remembers none of them.
    virtual unsigned int SetPlaybackProperty(MOXPVRPlaybackProperty property) = 0;

    /// Whether the recording being played is analogue, from its information file.
    /// @return 0, or 1 when the information file cannot be read (output untouched)
    virtual unsigned int GetFileType(eRecordedFileType &type) = 0;

    /// Callback hook without a record; only logged.
    virtual void DoTvpCallback(TVCallbackType type, void *data, void *userData) = 0;

    /// Takes a callback of the platform player.
    /// @param property  belongs to the caller; `timeCode` may be rewritten; may be null
    virtual void DoTvpCallback(TVCallbackType type, MOXPVRPlaybackCallbackProperty *property) = 0;

    /// @param name  out: path of the recording, empty before command 2
    /// @return 0, or 1 when the copy found no memory
    virtual unsigned int GetFileName(std::string &name) = 0;

    /// @param handle  out: the registry key of this instance
    virtual unsigned int GetMoxHandle(MOXHandle &handle) = 0;

    /// In the player's time unit. A failed platform call is not reported: the outputs hold what it
    /// left, 0 when it wrote nothing.
    /// @return 0, or 1 without a player (outputs untouched)
    virtual unsigned int GetPlaybackProgress(long &position, long &duration) = 0;

    /// @param state  out: see @ref ePvrPlaybackState
    virtual unsigned int GetState(ePvrPlaybackState &state) = 0;

    virtual ~IMOXPVRPlayback() = default;
};

#endif
