/// @file
/// The playback instance and the registry that owns the playbacks.
#ifndef MOXPVR_MOXPVRPLAYBACK_H
#define MOXPVR_MOXPVRPLAYBACK_H

#include <atomic>
#include <chrono>
#include <string>

#include "IMOXPVRPlayback.h"
#include "InstanceMap.h"
#include "LogLine.h"
#include "MoxPvrPlayback/ChannelChange.h"
#include "MoxPvrProtocol.h"

struct _GstMessage;

namespace mox {
struct ConvertedAudio;
}  // namespace mox

/// Plays one recording or timeshift buffer through a platform player and its stream, which belong
/// to the service.
///
/// Operations that take a record get all moxpvr::kRecordSize bytes of it.
///
/// A recording may hold stretches of several channels. While the decoders are set up for another
/// stretch during trick play, a channel change is under way: the position and the rate to return to
/// are kept, skips, trick play and further crossings are refused, and the next unmute of a decoder
/// ends it. One that has waited for more than five seconds is given up by the next of these
/// requests, which is carried out. An unmute that comes still later counts for the change then
/// under way, or as an ordinary one.
///
/// Threads: operations come from one thread at a time; DoTvpCallback and its handlers are handed in
/// between them. They may also run on another thread meanwhile: what both touch is atomic, and
/// whatever a callback needs is published before the platform call that can cause it, position and
/// rate to return to before the changing flag; they are read after it. The programming of the
/// decoders may then interleave.
class CMOXPVRPlayback : public IMOXPVRPlayback {
  public:
    explicit CMOXPVRPlayback(mox::Clock clock = std::chrono::steady_clock::now) : m_change(clock) {}

    void Initilize(MOXHandle handle, void *player, void *stream);

    // The interface.
    unsigned int CtrlPlayback(unsigned int inSize, unsigned char *inData, unsigned int &outSize,
                              unsigned char *outData) override;
    unsigned int SetPidProperty(unsigned int videoPid, unsigned int audioPid,
                                unsigned int pcrPid) override;
    unsigned int SetPidProperty(unsigned int videoPid, unsigned int videoCodecType,
                                unsigned int audioPid, unsigned int audioCodecType,
                                unsigned int pcrPid) override;
    unsigned int SetPidProperty(TSVideo video, TSAudio audio) override;
    unsigned int SetPidProperty(TSVideo video, TSAudio audio,
                                EAudioSelectionType selection) override;
    unsigned int SetADProperty(TSAudio ad) override;
    unsigned int DisableADProperty() override;
    unsigned int GetPidProperty(unsigned int &videoPid, unsigned int &audioPid,
                                unsigned int &pcrPid) override;
    unsigned int GetPidPropertyByUri(std::string uri, unsigned int &videoPid,
                                     unsigned int &audioPid, unsigned int &pcrPid) override;
    unsigned int SetPlaybackProperty(MOXPVRPlaybackProperty property) override;
    unsigned int GetFileType(eRecordedFileType &type) override;
    void DoTvpCallback(TVCallbackType type, void *data, void *userData) override;
    void DoTvpCallback(TVCallbackType type, MOXPVRPlaybackCallbackProperty *property) override;
    unsigned int GetFileName(std::string &name) override;
    unsigned int GetMoxHandle(MOXHandle &handle) override;
    unsigned int GetPlaybackProgress(long &position, long &duration) override;
    unsigned int GetState(ePvrPlaybackState &state) override;

    // Lifecycle and transport.
    unsigned int SetHandle(unsigned char *record);
    unsigned int SetProperty(unsigned char *record);
    unsigned int Start();
    unsigned int Ready();
    unsigned int Pause();
    unsigned int Resume();
    unsigned int TrickPlay(unsigned char *record);
    unsigned int StepFrame(unsigned char *record, void *reply, unsigned int *replyLength);
    unsigned int Stop();
    unsigned int GetProgress(void *reply, unsigned int *replyLength);

    // Channel changes inside a recording.

    /// Sets the decoders up for the channel at a time and plays on from there at 1.0.
    /// @param time    in the player's time unit
    /// @param bForce  also when that channel is the one set up
    /// @return -1 when it is and nothing was done; the channel information's result when that could
    ///         not be read; else the result of the last codec property
    int ResetChannel(int time, bool bForce);
    unsigned int Skip(unsigned char *record);

    // Streams.

    /// Programs the codecs of the recording again. @param audioOnly leave the video codec alone
    unsigned int Reset(bool audioOnly);
    /// @return whether the audio PID must stay as it is
    bool IsExceptionAudioChangeCase(EAudioSelectionType selection);
    unsigned int AllPidDescrambled(void *reply, unsigned int *replyLength);

    // Callbacks of the platform player.
    void AppCB(MOXPVRPlaybackCallbackProperty *property);
    void ErrorCB(MOXPVRPlaybackCallbackProperty *property);
    void UnmuteCB(TVCallbackType type, MOXPVRPlaybackCallbackProperty *property);

    // The same for platforms that deliver bus messages; nothing routes to them.
    void AppCB(_GstMessage *message);
    void ErrorCB(_GstMessage *message);
    void UnmuteCB(TVCallbackType type, _GstMessage *message);

  private:
    struct ResetOutcome;

    bool HasPlayer(mox::LogPlace place = mox::LogPlace::Here()) const;
    unsigned int OpenChannel(mox::LogPlace place = mox::LogPlace::Here());
    void RememberChannel(const TvChannelInfo &info);
    bool WaitsForUnmute(mox::LogPlace place = mox::LogPlace::Here());
    ResetOutcome ResetChannel(int time, bool bForce, const mox::ChannelChange::Recovery *recovery);
    void CrossIntoChannel(MOXPVRPlaybackCallbackProperty &property,
                          mox::LogPlace place = mox::LogPlace::Here());

    bool MayChangeAudioPid() const;
    bool ApplyPcrPid(unsigned int pid, mox::LogPlace place = mox::LogPlace::Here());
    bool ApplyVideoPid(unsigned int pid, mox::LogPlace place = mox::LogPlace::Here());
    bool ApplyAudioPid(unsigned int pid, mox::LogPlace place = mox::LogPlace::Here());
    bool RememberVideo(const TSVideo &video, mox::LogPlace place = mox::LogPlace::Here());
    bool IsAudioChange(const TSAudio &audio, mox::LogPlace place = mox::LogPlace::Here()) const;
    unsigned int ApplyAudio(const TSAudio &audio, const mox::ConvertedAudio &converted,
                            bool audioChanged, bool videoChanged,
                            mox::LogPlace place = mox::LogPlace::Here());
    int ResetAudioCodec(int audioCodec, mox::LogPlace place = mox::LogPlace::Here());
    int ResetAllCodecs(const TvChannelInfo &info, int audioCodec,
                       mox::LogPlace place = mox::LogPlace::Here());

    unsigned int ReadInformationFile(const char *recording, moxpvr::InformationFile &information,
                                     mox::LogPlace place = mox::LogPlace::Here()) const;

    unsigned char HandleByte() const { return static_cast<unsigned char>(m_nHandle.load()); }
    void SendApplicationEvent(int type, mox::LogPriority success,
                              mox::LogPlace place = mox::LogPlace::Here());
    void SendErrorEvent(int code, mox::LogPriority outcome,
                        mox::LogPlace place = mox::LogPlace::Here());
    void SendUnmuteEvent(mox::LogPriority received, mox::LogPriority outcome,
                         mox::LogPlace place = mox::LogPlace::Here());

    std::atomic<int> m_nHandle{0};
    int m_nStartPos = 0;
    MOXHandle m_instanceHandle;
    void *m_tv_player = nullptr;
    void *m_tv_stream = nullptr;
    ePvrPlaybackState m_ePlaybackState = E_PLAYBACK_STATE_NONE;
    std::string m_strFileName;
    bool m_bIsTimeshift = false;
    bool m_bIsPastPlayback = false;
    std::atomic<unsigned int> m_uVideoPid{moxpvr::kNoPid};
    std::atomic<unsigned int> m_uAudioPid{moxpvr::kNoPid};
    std::atomic<unsigned int> m_uPcrPid{moxpvr::kNoPid};
    std::atomic<unsigned int> m_eVideoCodecType{0};
    std::atomic<unsigned int> m_eAudioCodecType{0};
    std::atomic<bool> m_bIsAudioChannel{false};
    std::atomic<bool> m_bIsATV{false};
    std::atomic<bool> m_bTrickMode{false};
    unsigned int m_uAudioDescPid = 0;
    int m_adEncType = -1;
    bool m_bAllAudioPidDescrambled = false;
    bool m_bIsSupportCI = false;
    std::atomic<unsigned short> m_usChannelVideoPid{moxpvr::kNoPid16};
    std::atomic<unsigned char> m_ucChannelVideoType{0};
    std::atomic<int> m_nChannelAudioPid{-1};
    mox::ChannelChange m_change;
};

/// Owns the playbacks, one under each handle. Lives from its first use to the end of the process.
/// Threads: thread-bound.
class CMOXPVRPlaybackMgr {
  public:
    /// @return the registry, made on the first call; null when there was no memory for it
    static CMOXPVRPlaybackMgr *GetInstance();

    /// Makes and registers a playback. @return it, or null (no player or stream, no memory)
    CMOXPVRPlayback *SetPlaybackHandleStream(MOXHandle handle, void *player, void *stream);

    /// @return the playback under the handle, or null
    CMOXPVRPlayback *GetPlaybackInstance(MOXHandle handle);

    /// Destroys the playback under the handle, if there is one. @return 0
    int Destroy(MOXHandle handle);

    ~CMOXPVRPlaybackMgr();

  private:
    CMOXPVRPlaybackMgr();

    static CMOXPVRPlaybackMgr *m_pPlaybackMgr;
    mox::InstanceMap<CMOXPVRPlayback> m_playbacks;
};

#endif
