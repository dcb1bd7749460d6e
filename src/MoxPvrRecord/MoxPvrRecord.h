/// @file
/// The recorder instance and the registry that owns the recorders.
#ifndef MOXPVR_MOXPVRRECORD_H
#define MOXPVR_MOXPVRRECORD_H

#include <atomic>
#include <set>
#include <string>
#include <vector>

#include "IMOXPVRRecorder.h"
#include "InstanceMap.h"
#include "LogLine.h"
#include "MoxPvrProtocol.h"

struct _GstMessage;

/// Drives one platform recorder. It keeps what it programmed and reports what the platform says;
/// the platform recorder belongs to the service and is never started, stopped or freed other than
/// by the service's own requests.
///
/// Operations that take a record get all moxpvr::kRecordSize bytes of it. They answer 0, 1 for a
/// missing platform recorder or record, or the platform's own result. None refuses because of the
/// state: the platform decides whether a call makes sense.
///
/// Threads: operations come from one thread at a time. AppCB, ErrorCB and AsmCB run on the platform
/// recorder's thread; they read the handle number only.
class CMOXPVRRecorder : public IMOXPVRRecorder {
  public:
    /// Stores the three values and registers the callback. @return the registration's result
    int Initilize(MOXHandle handle, void *recorder, int tunerIndex);

    // The interface.
    unsigned int CtrlRecorder(unsigned int inSize, unsigned char *inData, unsigned int &outSize,
                              unsigned char *outData) override;
    void DoTvpCallback(TVCallbackType type, void *data, void *userData) override;
    int GetFileName(std::string &name) override;
    int GetServiceId(unsigned long long &serviceId) override;
    int GetMoxHandle(MOXHandle &handle) override;
    int GetRecordProgress(long &position) override;
    int GetState(ePvrRecordState &state) override;

    // Lifecycle.
    int SetHandle(unsigned char *record);
    int SetDuration(unsigned char *record);
    int PreStart();
    int Start();
    int Pause();
    int Resume();
    int Stop();

    // Streams.
    int SetDemuxProperty(unsigned char *record);
    int SetChannelInfoProperty(unsigned char *record);
    int SetATVProperty();
    int UpdateSi(unsigned char *record);
    int ClearDemuxInfo();
    int SetBackgroundAPID(unsigned char *record);
    int GetTunerIndex(void *reply, unsigned int *replyLength);

    // Sink, timeshift and progress.
    int SetSinkProperty(unsigned char *record);
    int SwapTS2Record(unsigned char *record);
    int GetTSDuration(unsigned char *record, void *reply, unsigned int *replyLength);
    int GetProgress(void *reply, unsigned int *replyLength);

    // Callbacks of the platform recorder.
    void AppCB(_GstMessage *message);
    void ErrorCB(_GstMessage *message);
    void AsmCB(TvStreamAsmSoundCommand *command);

    /// Takes note of a power change, which leaves a recording alone. @return 0, or 2 without a
    /// platform recorder
    int RecordInformPowerChange(unsigned char *record);

  private:
    enum class Sent { NoManager, Accepted, Refused };

    bool HasRecorder(mox::LogPlace place = mox::LogPlace::Here()) const;
    Sent SendRecorderStarted(mox::LogPlace place = mox::LogPlace::Here());
    void DumpPids(mox::LogPriority priority, const char *marker,
                  mox::LogPlace place = mox::LogPlace::Here()) const;
    static void LogChannelInfo(const moxpvr::recorder::SetChannelInfoProperty &info,
                               mox::LogPlace place = mox::LogPlace::Here());
    int SetAudioOnlyPids(const moxpvr::recorder::SetDemuxProperty &pids,
                         mox::LogPlace place = mox::LogPlace::Here());
    int SetVideoAndAudioPids(const moxpvr::recorder::SetDemuxProperty &pids,
                             mox::LogPlace place = mox::LogPlace::Here());

    std::atomic<unsigned char> m_nHandle{0};
    MOXHandle m_moxHandle;
    void *m_handle = nullptr;
    int m_nTunerIndex = 0;
    ePvrRecordState m_eRecordState = E_RECORD_STATE_NONE;
    std::string m_strFileName;
    unsigned long long m_ullServiceID = 0;
    std::vector<unsigned int> m_vecDemuxPid;  ///< in the order programmed, duplicates included
    std::set<unsigned int> m_setSiPid;        ///< added by updates since the last clear
    moxpvr::RecordType m_eRecordType = moxpvr::RecordType::None;  ///< told with the start event
    bool m_bIsSupportCI = false;
};

/// Owns the recorders, one under each handle. Lives from its first use to the end of the process.
/// Threads: thread-bound.
class CMOXPVRRecorderMgr {
  public:
    /// @return the registry, made on the first call; null when there was no memory for it
    static CMOXPVRRecorderMgr *GetInstance();

    /// Makes and registers a recorder. @return it, or null (no platform recorder, no memory)
    CMOXPVRRecorder *SetRecorderHandle(MOXHandle handle, void *recorder, int tunerIndex);

    /// @return the recorder under the handle, or null
    CMOXPVRRecorder *GetRecorderInstance(MOXHandle handle);

    /// Destroys the recorder under the handle, if there is one. @return 0
    int Destroy(MOXHandle handle);

    ~CMOXPVRRecorderMgr();

  private:
    CMOXPVRRecorderMgr();

    static CMOXPVRRecorderMgr *m_pRecorderMgr;
    mox::InstanceMap<CMOXPVRRecorder> m_recorders;
};

#endif
