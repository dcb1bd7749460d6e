/// @file
/// How the TV's services see one recorder instance.
#ifndef MOXPVR_IMOXPVRRECORDER_H
#define MOXPVR_IMOXPVRRECORDER_H

#include <string>

#include <TVTypes.h>

#include "MOXHandle.h"
#include "MoxPvrExport.h"

/// One recorder: a platform recorder while it writes one service to a file or a timeshift buffer.
///
/// The registry of the library owns every instance; MoxPvrAPI::GetRecorderInstance lends it. The
/// slots below are the binary interface: their order and number never change.
///
/// Threads: thread-bound. Calls on one instance come from one thread at a time; the
/// platform recorder calls the library on a thread of its own. No slot throws.
class MOXPVR_EXPORT IMOXPVRRecorder {
  public:
    /// What the recorder last did with success.
    enum ePvrRecordState : unsigned int {
        E_RECORD_STATE_NONE = 0,     ///< new
        E_RECORD_STATE_REC = 1,      ///< started or resumed
        E_RECORD_STATE_PAUSE = 2,    ///< paused
        E_RECORD_STATE_STOPPED = 3,  ///< stopped; only for services received through a CI module
        E_RECORD_STATE_PENDING = 4,  ///< for observers; the library never enters it
    };

    /// Carries out one control request (the recorder commands of docs/protocol.md).
    ///
    /// @param inSize   characters of request text
    /// @param inData   request text: two hexadecimal digits per byte of a record of
    ///                 MoxPvrProtocol.h, which starts with the command number. No more than
    ///                 `inSize` characters are read or logged
    /// @param outSize  out: characters of reply text; untouched when the command gives no reply
    /// @param outData  reply buffer, at least twice the reply's bytes plus one; may be null for
    ///                 commands without a reply
    /// @return 0 success; 1 no platform recorder, no reply buffer where one is needed, or out of
    ///         memory; 2 a text that cannot be decoded or is longer than 16384 characters, an
    ///         unknown command, or command 15 without a platform recorder; any other value is the
    ///         platform's own result
    virtual unsigned int CtrlRecorder(unsigned int inSize, unsigned char *inData,
                                      unsigned int &outSize, unsigned char *outData) = 0;

    /// Callback hook of the services; a recorder only logs the call.
    /// @param type      ignored
    /// @param data      ignored, the caller's
    /// @param userData  ignored, the caller's
    virtual void DoTvpCallback(TVCallbackType type, void *data, void *userData) = 0;

    /// @param name  out: path of the sink last set, empty before
    /// @return 0, or 1 when the copy found no memory
    virtual int GetFileName(std::string &name) = 0;

    /// @param serviceId  out: the recorded service, 0 before command 1
    /// @return 0
    virtual int GetServiceId(unsigned long long &serviceId) = 0;

    /// @param handle  out: the registry key of this instance
    /// @return 0
    virtual int GetMoxHandle(MOXHandle &handle) = 0;

    /// @param position  out: the low 32 bits, signed, of the platform's recording position; not
    ///                  written without a platform recorder
    /// @return 0; 1 no platform recorder; else the platform's result
    virtual int GetRecordProgress(long &position) = 0;

    /// @param state  out: see @ref ePvrRecordState
    /// @return 0
    virtual int GetState(ePvrRecordState &state) = 0;

    virtual ~IMOXPVRRecorder() = default;
};

#endif
