/// @file
/// Every request, reply and event of the library, and the recording information file: numbers,
/// offsets, widths and names, each written once. Header-only; C++14 is enough.
///
/// A record is a plain struct. Its `Fields` names the members with their offsets, counted in bytes
/// from the start of the record (of a request: from its command number); the width of a field is
/// that of its member. Everything is little-endian. Encoding, decoding and printing all walk
/// `Fields`.
///
/// @code
/// moxpvr::recorder::SetHandle request;
/// request.handle = 3;
/// request.serviceId = 2;
/// moxpvr::RequestText text(request);
/// unsigned char reply[64];
/// unsigned int replySize = 0;
/// mox_pvr_control_recording(text.size(), text.data(), replySize, reply);
///
/// moxpvr::recorder::GetProgressReply progress;
/// moxpvr::RequestText question(moxpvr::recorder::GetProgress{});
/// if (mox_pvr_control_recording(question.size(), question.data(), replySize, reply) == 0 &&
///     moxpvr::DecodeText(reply, replySize, progress))
///     show(progress.position);
/// @endcode
///
/// Threads: reentrant throughout. Nothing here has state; only RequestText, EncodeBytes and
/// DecodeText allocate.
#ifndef MOXPVR_MOXPVRPROTOCOL_H
#define MOXPVR_MOXPVRPROTOCOL_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace moxpvr {

// --- Numbers -------------------------------------------------------------------------------------

/// Results of the control calls; every other value is the platform's own.
enum Result : std::uint32_t {
    kSuccess = 0,
    kMissing = 1,        ///< no platform object, record or reply buffer; out of memory; unread file
    kBadRequest = 2,     ///< text that cannot be decoded, unknown command
    kNoInstance = 9999,  ///< no instance is registered for an entry point's request
};

/// A request is decoded into this many bytes; what its text leaves out of them reads as 0.
constexpr std::size_t kRecordSize = 8192;

/// The longest request text: two characters for each byte of the record.
constexpr std::size_t kMaxRequestText = 2 * kRecordSize;

/// Width of a path in a record, its NUL included.
constexpr std::size_t kTextFieldSize = 256;

/// @name PIDs with a meaning of their own
/// In 32-bit fields, and the same in 16-bit fields.
/// @{
constexpr std::uint32_t kNoPid = 0xFFFFFFFF;  ///< no such stream; 0 means the same for video and AD
constexpr std::uint16_t kNoPid16 = 0xFFFF;    ///< the same in 16 bits
constexpr std::uint32_t kKeepPid = 0xFFFFFFFE;     ///< playback selection: this PID stays as it is
constexpr std::uint16_t kKeepPid16 = 0xFFFE;       ///< the same in 16 bits
constexpr std::uint16_t kAnalogueVideoPid = 0x40;  ///< video and PCR of an analogue channel
constexpr std::uint16_t kAnalogueAudioPid = 0x41;  ///< audio of an analogue channel
/// @}

/// Events of the TV's event bus that the library sends.
enum EventNumber : std::int32_t {
    SIGNAL_PVR_SYS_CHANGE = 31,           ///< with SysChangeEvent
    SIGNAL_PVR_RECORDER_STARTED = 32769,  ///< with RecorderStartedEvent and the recorder's handle
};

/// What a SIGNAL_PVR_SYS_CHANGE reports, named after the platform's number that caused it; what
/// that number means is the platform's.
enum class EventDetail : std::uint8_t {
    None = 0,                     ///< never sent
    PlaybackApplication0 = 1,     ///< application callback with SubEventType 0
    PlaybackApplication1 = 2,     ///< the same with 1
    PlaybackUnmute = 3,           ///< a decoder can be unmuted
    PlaybackError1 = 51,          ///< error callback with errCode 1
    PlaybackError3 = 52,          ///< the same with 3
    RecorderApplication2 = 101,   ///< application message with app_type 2
    RecorderApplication4 = 102,   ///< the same with 4
    RecorderError0 = 151,         ///< error message with code 0
    RecorderError2 = 152,         ///< the same with 2
    RecorderError4 = 153,         ///< the same with 4
    RecorderSoundCommand2 = 154,  ///< sound command 2 of the audio session manager
};

/// Kinds of sink, as RecorderStartedEvent reports them.
enum class RecordType : std::uint8_t {
    None = 0,  ///< no sink was set
    Recording = 1,
    Timeshift = 3,  ///< a timeshift buffer, or the recording that a swap made of one
};

/// Channel types of the information file.
enum class ChannelType : std::uint16_t {
    Digital = 0,  ///< as every value that is not named here
    Analogue = 1,
    AnalogueCable = 3,
};

// --- Fields --------------------------------------------------------------------------------------

/// How the value of a field is meant, for those who print or ask for it.
enum class Meaning {
    Number,
    Flag,  ///< 0, or anything else
    Pid,
    Time,  ///< in the unit of the platform's player or recorder
    Rate,  ///< multiple of normal speed; negative is rewind
    Path,
    Codec,  ///< a codec number of the platform
};

/// Where a field lies and what it is called.
struct Field {
    std::size_t offset;  ///< bytes from the start of the record
    const char *name;    ///< as the member; static text
    Meaning meaning;     ///< how to show the value
};

/// A path in a record: NUL-terminated, at most 255 characters.
struct TextField {
    char text[kTextFieldSize] = {};  ///< zero-filled after the path

    /// @param path  at most 255 characters, without a NUL among them
    /// @return false when the path does not fit, which leaves the field as it was: never cut
    bool Set(const std::string &path) {
        if (path.size() >= kTextFieldSize || path.find('\0') != std::string::npos)
            return false;
        std::memset(text, 0, sizeof text);
        std::memcpy(text, path.data(), path.size());
        return true;
    }
    /// @return the path, NUL-terminated; lives as long as this field
    const char *c_str() const { return text; }
};

/// A counted list of PIDs, as long as a record can hold.
struct PidList {
    /// @return how many PIDs fit a request: 2046
    static constexpr std::size_t Capacity() { return (kRecordSize - 8) / 4; }

    std::int32_t announced = 0;                     ///< the count as sent, whatever it is
    std::uint32_t pid[(kRecordSize - 8) / 4] = {};  ///< in the order of the request

    /// @return how many of the PIDs are in use: what is announced, but 0 to Capacity()
    constexpr std::size_t size() const {
        if (announced <= 0)
            return 0;
        const auto count = static_cast<std::size_t>(announced);
        return count < Capacity() ? count : Capacity();
    }

    /// @param value  appended
    /// @return false when the list is full, which leaves it as it was
    bool Add(std::uint32_t value) {
        const std::size_t count = size();
        if (count == Capacity())
            return false;
        pid[count] = value;
        announced = static_cast<std::int32_t>(count + 1);
        return true;
    }
};

/// Declares the fields of a record.
#define MOXPVR_FIELDS                                                              \
    /** Calls visit(Field, member) for each field, in the order of the offsets. */ \
    /** @param self   the record, const or not */                                  \
    /** @param visit  a function object; takes lists and paths too */              \
    template <typename Self, typename Visitor>                                     \
    static constexpr void Fields(Self &self, Visitor &&visit)

/// Declares a record without fields.
#define MOXPVR_NO_FIELDS                                          \
    /** Does nothing: the request is its command number alone. */ \
    template <typename Self, typename Visitor>                    \
    static constexpr void Fields(Self & /*self*/, Visitor && /*visit*/) {}

/// Declares number and name of a request.
#define MOXPVR_REQUEST(command)           \
    /** @return the request's number */   \
    static constexpr Command Number() {   \
        return Command::command;          \
    }                                     \
    /** @return the request's name */     \
    static constexpr const char *Name() { \
        return #command;                  \
    }

// --- Requests to a recorder ----------------------------------------------------------------------

namespace recorder {

/// Commands of a recorder; the record of each has the same name.
enum class Command : std::uint32_t {
    SetHandle = 1,
    SetDemuxProperty = 2,
    SetSinkProperty = 3,
    SetChannelInfoProperty = 4,
    SetATVProperty = 5,
    Start = 6,
    Pause = 7,
    Resume = 8,
    Stop = 9,
    GetProgress = 10,
    SwapTS2Record = 11,
    UpdateSi = 12,
    GetTSDuration = 13,
    ClearDemuxInfo = 14,
    RecordInformPowerChange = 15,
    GetTunerIndex = 16,
    SetBackgroundAPID = 17,
    SetDuration = 18,
    PreStart = 19,
};

/// Names the recorder in its events, and the service that it records.
struct SetHandle {
    MOXPVR_REQUEST(SetHandle)
    std::uint8_t handle = 0;      ///< byte 0 of this instance's events
    std::uint64_t serviceId = 0;  ///< in the start event
    std::int32_t ci = 0;          ///< the service is received through a CI module

    MOXPVR_FIELDS {
        visit(Field{4, "handle", Meaning::Number}, self.handle);
        visit(Field{8, "serviceId", Meaning::Number}, self.serviceId);
        visit(Field{16, "ci", Meaning::Flag}, self.ci);
    }
};

/// The PIDs of the service to record.
struct SetDemuxProperty {
    MOXPVR_REQUEST(SetDemuxProperty)
    std::uint32_t audioPid = kNoPid;             ///< main audio
    std::uint32_t videoPid = kNoPid;             ///< 0 or kNoPid: the service has audio only
    std::uint32_t pcrPid = kNoPid;               ///< PCR_PID of the PMT; read only with video
    std::uint32_t korean3d = 0;                  ///< the service has a second video stream
    std::uint32_t subVideoPid = 0;               ///< that stream; read only with the flag
    std::uint32_t audioDescriptionPid = kNoPid;  ///< 0 or kNoPid: none

    MOXPVR_FIELDS {
        visit(Field{4, "audioPid", Meaning::Pid}, self.audioPid);
        visit(Field{8, "videoPid", Meaning::Pid}, self.videoPid);
        visit(Field{12, "pcrPid", Meaning::Pid}, self.pcrPid);
        visit(Field{16, "korean3d", Meaning::Flag}, self.korean3d);
        visit(Field{20, "subVideoPid", Meaning::Pid}, self.subVideoPid);
        visit(Field{24, "audioDescriptionPid", Meaning::Pid}, self.audioDescriptionPid);
    }
};

/// A file to write, the record of SetSinkProperty and SwapTS2Record.
struct Sink {
    /// @return where the path lies
    static constexpr std::size_t Path() { return 4; }

    TextField path;                    ///< of the file
    std::int32_t isTimeshift = 0;      ///< 0: a recording; else a timeshift buffer
    std::int32_t isSegmentRecord = 0;  ///< passed on to the platform

    MOXPVR_FIELDS {
        visit(Field{Path(), "path", Meaning::Path}, self.path);
        visit(Field{260, "isTimeshift", Meaning::Flag}, self.isTimeshift);
        visit(Field{264, "isSegmentRecord", Meaning::Flag}, self.isSegmentRecord);
    }
};

/// Where to write.
struct SetSinkProperty {
    MOXPVR_REQUEST(SetSinkProperty)
    Sink sink;  ///< the recording or timeshift buffer

    MOXPVR_FIELDS { Sink::Fields(self.sink, visit); }
};

/// The platform's channel information record (TvChannelInfo of TVTypes.h, 192 bytes from offset 4):
/// it is kept with the recording, and a playback is set up from it. Bytes that no field names
/// belong to the platform.
struct SetChannelInfoProperty {
    MOXPVR_REQUEST(SetChannelInfoProperty)
    /// @return where the platform's record starts in the request
    static constexpr std::size_t PlatformRecord() { return 4; }
    /// @return where the one field lies that the library writes
    static constexpr std::size_t OneAudioPid() { return 193; }

    std::uint16_t programNumber = 0;    ///< program_number (ISO/IEC 13818-1, 2.4.4.5)
    std::uint16_t major = 0;            ///< channel number
    std::uint16_t minor = 0;            ///< its second part, where it has one
    std::int32_t audioPid = 0;          ///< without video, above 0 means audio only
    std::uint32_t audioCodec = 0;       ///< EAudioEncodeType of TVTypes.h
    std::uint32_t multiSoundMode = 0;   ///< EMultiSoundMode of TVTypes.h
    std::int32_t korean3d = 0;          ///< 1: a 3D service with a second video stream
    std::uint16_t videoPid = kNoPid16;  ///< 0 or kNoPid16: no video
    std::uint16_t subVideoPid = 0;      ///< second video stream of a 3D service
    std::uint8_t videoCodec = 0;        ///< EVideoEncodeType of TVTypes.h, in one byte
    std::uint16_t pcrPid = 0;           ///< PCR_PID (ISO/IEC 13818-1, 2.4.4.9)
    std::int32_t pidDescrambled = 0;    ///< not 0: the sender reports descrambled PIDs
    std::uint8_t oneAudioPid = 0;  ///< written by the library: only one audio PID is descrambled
    std::uint16_t reserved = 0;    ///< the end of the platform's record

    MOXPVR_FIELDS {
        visit(Field{10, "programNumber", Meaning::Number}, self.programNumber);
        visit(Field{12, "major", Meaning::Number}, self.major);
        visit(Field{14, "minor", Meaning::Number}, self.minor);
        visit(Field{148, "audioPid", Meaning::Pid}, self.audioPid);
        visit(Field{156, "audioCodec", Meaning::Codec}, self.audioCodec);
        visit(Field{160, "multiSoundMode", Meaning::Number}, self.multiSoundMode);
        visit(Field{172, "korean3d", Meaning::Number}, self.korean3d);
        visit(Field{176, "videoPid", Meaning::Pid}, self.videoPid);
        visit(Field{178, "subVideoPid", Meaning::Pid}, self.subVideoPid);
        visit(Field{180, "videoCodec", Meaning::Codec}, self.videoCodec);
        visit(Field{182, "pcrPid", Meaning::Pid}, self.pcrPid);
        visit(Field{188, "pidDescrambled", Meaning::Flag}, self.pidDescrambled);
        visit(Field{OneAudioPid(), "oneAudioPid", Meaning::Flag}, self.oneAudioPid);
        visit(Field{194, "reserved", Meaning::Number}, self.reserved);
    }
};

/// Programs the fixed PIDs of an analogue channel.
struct SetATVProperty {
    MOXPVR_REQUEST(SetATVProperty)
    MOXPVR_NO_FIELDS
};

/// Starts to write; RecorderStartedEvent is sent on success.
struct Start {
    MOXPVR_REQUEST(Start)
    MOXPVR_NO_FIELDS
};

/// Pauses the recording.
struct Pause {
    MOXPVR_REQUEST(Pause)
    MOXPVR_NO_FIELDS
};

/// Continues a paused recording.
struct Resume {
    MOXPVR_REQUEST(Resume)
    MOXPVR_NO_FIELDS
};

/// Ends the recording. Its PIDs stay until ClearDemuxInfo.
struct Stop {
    MOXPVR_REQUEST(Stop)
    MOXPVR_NO_FIELDS
};

/// Answered by GetProgressReply.
struct GetProgress {
    MOXPVR_REQUEST(GetProgress)
    MOXPVR_NO_FIELDS
};

/// Turns the running timeshift buffer into a recording.
struct SwapTS2Record {
    MOXPVR_REQUEST(SwapTS2Record)
    Sink sink;  ///< the recording that the buffer becomes

    MOXPVR_FIELDS { Sink::Fields(self.sink, visit); }
};

/// More PIDs, as the service information names them: their number at offset 4, then each.
struct UpdateSi {
    MOXPVR_REQUEST(UpdateSi)
    PidList pids;  ///< each is programmed once until ClearDemuxInfo

    MOXPVR_FIELDS { visit(Field{4, "pids", Meaning::Pid}, self.pids); }
};

/// Asks how much timeshift a disk holds; answered by GetTSDurationReply.
struct GetTSDuration {
    MOXPVR_REQUEST(GetTSDuration)
    std::uint32_t diskSize = 0;  ///< in the unit of the platform

    MOXPVR_FIELDS { visit(Field{4, "diskSize", Meaning::Number}, self.diskSize); }
};

/// Removes the PIDs that this instance keeps in its list.
struct ClearDemuxInfo {
    MOXPVR_REQUEST(ClearDemuxInfo)
    MOXPVR_NO_FIELDS
};

/// Reports a change of the TV's power state; only logged.
struct RecordInformPowerChange {
    MOXPVR_REQUEST(RecordInformPowerChange)
    std::int32_t powerState = 0;  ///< in the numbers of the sender

    MOXPVR_FIELDS { visit(Field{4, "powerState", Meaning::Number}, self.powerState); }
};

/// Answered by GetTunerIndexReply.
struct GetTunerIndex {
    MOXPVR_REQUEST(GetTunerIndex)
    MOXPVR_NO_FIELDS
};

/// Another audio PID for a recording that runs.
struct SetBackgroundAPID {
    MOXPVR_REQUEST(SetBackgroundAPID)
    std::uint32_t audioPid = 0;  ///< replaces the one of SetDemuxProperty

    MOXPVR_FIELDS { visit(Field{4, "audioPid", Meaning::Pid}, self.audioPid); }
};

/// How long to record.
struct SetDuration {
    MOXPVR_REQUEST(SetDuration)
    std::int32_t duration = 0;  ///< stream time after which the platform ends the recording

    MOXPVR_FIELDS { visit(Field{4, "duration", Meaning::Time}, self.duration); }
};

/// Readies tuner and demultiplexer.
struct PreStart {
    MOXPVR_REQUEST(PreStart)
    MOXPVR_NO_FIELDS
};

/// Calls visit(request) with an empty request of every command, in the order of their numbers.
/// @param visit  takes any request by value or const reference
template <typename Visitor>
void ForEachRequest(Visitor &&visit) {
    visit(SetHandle{});
    visit(SetDemuxProperty{});
    visit(SetSinkProperty{});
    visit(SetChannelInfoProperty{});
    visit(SetATVProperty{});
    visit(Start{});
    visit(Pause{});
    visit(Resume{});
    visit(Stop{});
    visit(GetProgress{});
    visit(SwapTS2Record{});
    visit(UpdateSi{});
    visit(GetTSDuration{});
    visit(ClearDemuxInfo{});
    visit(RecordInformPowerChange{});
    visit(GetTunerIndex{});
    visit(SetBackgroundAPID{});
    visit(SetDuration{});
    visit(PreStart{});
}

/// @name Replies
/// @{

/// How far the recording is. Both are the low 32 bits of what the platform reports.
struct GetProgressReply {
    /// @return the command that it answers
    static constexpr Command Question() { return Command::GetProgress; }
    /// @return the name of that command
    static constexpr const char *Name() { return "GetProgress"; }
    std::uint32_t position = 0;  ///< time written
    std::uint32_t duration = 0;  ///< time that the sink holds

    MOXPVR_FIELDS {
        visit(Field{0, "position", Meaning::Time}, self.position);
        visit(Field{4, "duration", Meaning::Time}, self.duration);
    }
};

/// How much timeshift fits the disk.
struct GetTSDurationReply {
    /// @return the command that it answers
    static constexpr Command Question() { return Command::GetTSDuration; }
    /// @return the name of that command
    static constexpr const char *Name() { return "GetTSDuration"; }
    std::uint32_t duration = 0;  ///< in the unit of the platform

    MOXPVR_FIELDS { visit(Field{0, "duration", Meaning::Time}, self.duration); }
};

/// The tuner index that the instance was registered with.
struct GetTunerIndexReply {
    /// @return the command that it answers
    static constexpr Command Question() { return Command::GetTunerIndex; }
    /// @return the name of that command
    static constexpr const char *Name() { return "GetTunerIndex"; }
    std::int32_t tunerIndex = 0;  ///< 0 for the recorder of the entry points

    MOXPVR_FIELDS { visit(Field{0, "tunerIndex", Meaning::Number}, self.tunerIndex); }
};

/// @}

/// Calls visit(reply) with an empty reply of every command that has one.
/// @param visit  takes any reply by value or const reference
template <typename Visitor>
void ForEachReply(Visitor &&visit) {
    visit(GetProgressReply{});
    visit(GetTSDurationReply{});
    visit(GetTunerIndexReply{});
}

}  // namespace recorder

// --- Requests to a playback ----------------------------------------------------------------------

namespace playback {

/// Commands of a playback; the record of each has the same name.
enum class Command : std::uint32_t {
    SetHandle = 1,
    SetProperty = 2,
    Start = 3,
    Pause = 4,
    Resume = 5,
    TrickPlay = 6,
    Skip = 7,
    Stop = 8,
    GetProgress = 9,
    StepFrame = 10,
    Ready = 11,
    Reset = 12,
    AllPidDescrambled = 13,
};

/// Names the playback in its events.
struct SetHandle {
    MOXPVR_REQUEST(SetHandle)
    std::uint8_t handle = 0;  ///< byte 0 of this instance's events
    std::int32_t ci = 0;      ///< the service was received through a CI module

    MOXPVR_FIELDS {
        visit(Field{4, "handle", Meaning::Number}, self.handle);
        visit(Field{16, "ci", Meaning::Flag}, self.ci);
    }
};

/// What to play.
struct SetProperty {
    MOXPVR_REQUEST(SetProperty)
    /// @return where the path lies
    static constexpr std::size_t Path() { return 4; }

    TextField path;                   ///< of the recording or timeshift buffer
    std::int32_t startPosition = 0;   ///< where playback starts, also where Reset looks
    std::int32_t isTimeshift = 0;     ///< the source is a timeshift buffer
    std::int32_t isPastPlayback = 0;  ///< stored only

    MOXPVR_FIELDS {
        visit(Field{Path(), "path", Meaning::Path}, self.path);
        visit(Field{260, "startPosition", Meaning::Time}, self.startPosition);
        visit(Field{264, "isTimeshift", Meaning::Flag}, self.isTimeshift);
        visit(Field{268, "isPastPlayback", Meaning::Flag}, self.isPastPlayback);
    }
};

/// Starts the stream and its user data.
struct Start {
    MOXPVR_REQUEST(Start)
    MOXPVR_NO_FIELDS
};

/// Pauses playback.
struct Pause {
    MOXPVR_REQUEST(Pause)
    MOXPVR_NO_FIELDS
};

/// Continues a paused playback.
struct Resume {
    MOXPVR_REQUEST(Resume)
    MOXPVR_NO_FIELDS
};

/// Continues at another rate.
struct TrickPlay {
    MOXPVR_REQUEST(TrickPlay)
    std::uint32_t time = 0;  ///< where the change was asked for
    double rate = 1.0;       ///< 1.0 is normal speed, negative is rewind

    MOXPVR_FIELDS {
        visit(Field{4, "time", Meaning::Time}, self.time);
        visit(Field{8, "rate", Meaning::Rate}, self.rate);
    }
};

/// Continues from another place. The channel there is looked up with the time as a signed number;
/// the player is moved to it as an unsigned one.
struct Skip {
    MOXPVR_REQUEST(Skip)
    std::uint32_t time = 0;  ///< where to
    double rate = 1.0;       ///< 1.0 is normal speed, negative is rewind

    MOXPVR_FIELDS {
        visit(Field{4, "time", Meaning::Time}, self.time);
        visit(Field{8, "rate", Meaning::Rate}, self.rate);
    }
};

/// Stops the user data and the stream.
struct Stop {
    MOXPVR_REQUEST(Stop)
    MOXPVR_NO_FIELDS
};

/// Answered by GetProgressReply.
struct GetProgress {
    MOXPVR_REQUEST(GetProgress)
    MOXPVR_NO_FIELDS
};

/// Shows the next picture; gives no reply.
struct StepFrame {
    MOXPVR_REQUEST(StepFrame)
    MOXPVR_NO_FIELDS
};

/// Readies the player.
struct Ready {
    MOXPVR_REQUEST(Ready)
    MOXPVR_NO_FIELDS
};

/// Programs the codecs of the recording again.
struct Reset {
    MOXPVR_REQUEST(Reset)
    MOXPVR_NO_FIELDS
};

/// Answered by AllPidDescrambledReply.
struct AllPidDescrambled {
    MOXPVR_REQUEST(AllPidDescrambled)
    MOXPVR_NO_FIELDS
};

/// Calls visit(request) with an empty request of every command, in the order of their numbers.
/// @param visit  takes any request by value or const reference
template <typename Visitor>
void ForEachRequest(Visitor &&visit) {
    visit(SetHandle{});
    visit(SetProperty{});
    visit(Start{});
    visit(Pause{});
    visit(Resume{});
    visit(TrickPlay{});
    visit(Skip{});
    visit(Stop{});
    visit(GetProgress{});
    visit(StepFrame{});
    visit(Ready{});
    visit(Reset{});
    visit(AllPidDescrambled{});
}

/// @name Replies
/// @{

/// How far playback is. Position and duration are the low 32 bits of what the platform reports.
struct GetProgressReply {
    /// @return the command that it answers
    static constexpr Command Question() { return Command::GetProgress; }
    /// @return the name of that command
    static constexpr const char *Name() { return "GetProgress"; }
    std::int32_t result = 0;     ///< the platform's own
    std::uint32_t position = 0;  ///< what is played now
    std::uint32_t duration = 0;  ///< of the whole source

    MOXPVR_FIELDS {
        visit(Field{0, "result", Meaning::Number}, self.result);
        visit(Field{4, "position", Meaning::Time}, self.position);
        visit(Field{8, "duration", Meaning::Time}, self.duration);
    }
};

/// What may be played of a scrambled service's audio.
struct AllPidDescrambledReply {
    /// @return the command that it answers
    static constexpr Command Question() { return Command::AllPidDescrambled; }
    /// @return the name of that command
    static constexpr const char *Name() { return "AllPidDescrambled"; }
    std::uint32_t all = 0;  ///< 1: all audio PIDs are descrambled; 0: only one is

    MOXPVR_FIELDS { visit(Field{0, "all", Meaning::Flag}, self.all); }
};

/// @}

/// Calls visit(reply) with an empty reply of every command that has one.
/// @param visit  takes any reply by value or const reference
template <typename Visitor>
void ForEachReply(Visitor &&visit) {
    visit(GetProgressReply{});
    visit(AllPidDescrambledReply{});
}

}  // namespace playback

// --- Events --------------------------------------------------------------------------------------

/// Size of the record that comes with an event.
constexpr std::size_t kEventSize = 16;

/// With SIGNAL_PVR_SYS_CHANGE. The last three are 0 unless docs/events.md has a value.
struct SysChangeEvent {
    /// @return the name of the event's number
    static constexpr const char *Name() { return "SIGNAL_PVR_SYS_CHANGE"; }
    std::uint8_t handle = 0;                 ///< `c0`, the number that SetHandle gave the sender
    EventDetail detail = EventDetail::None;  ///< `c1`
    std::int32_t parameter = 0;              ///< `L1`
    std::int32_t second = 0;                 ///< `L2`
    std::int32_t third = 0;                  ///< `L3`

    MOXPVR_FIELDS {
        visit(Field{0, "handle", Meaning::Number}, self.handle);
        visit(Field{1, "detail", Meaning::Number}, self.detail);
        visit(Field{4, "parameter", Meaning::Number}, self.parameter);
        visit(Field{8, "second", Meaning::Number}, self.second);
        visit(Field{12, "third", Meaning::Number}, self.third);
    }
};

/// With SIGNAL_PVR_RECORDER_STARTED.
struct RecorderStartedEvent {
    /// @return the name of the event's number
    static constexpr const char *Name() { return "SIGNAL_PVR_RECORDER_STARTED"; }
    RecordType recordType = RecordType::None;  ///< of the sink that is written
    std::uint64_t serviceId = 0;               ///< as SetHandle gave it

    MOXPVR_FIELDS {
        visit(Field{0, "recordType", Meaning::Number}, self.recordType);
        visit(Field{8, "serviceId", Meaning::Number}, self.serviceId);
    }
};

// --- The recording information file --------------------------------------------------------------

/// What the library reads of the file beside each recording, whose path is that of the recording
/// with its last three characters replaced by "inf". The service writes it; what a shorter file
/// does not hold reads as 0, bytes that no field names are the service's own.
struct InformationFile {
    /// @return what to call it in messages
    static constexpr const char *Name() { return "information file"; }
    /// @return bytes of the whole file; no more is ever read
    static constexpr std::size_t Size() { return 10645; }

    std::uint32_t videoPid = kNoPid;                 ///< of the recorded service
    std::uint32_t pcrPid = kNoPid;                   ///< of the recorded service
    std::uint32_t audioPid = kNoPid;                 ///< its main audio
    ChannelType channelType = ChannelType::Digital;  ///< how it was received

    /// @return whether the recording is of an analogue channel
    bool IsAnalogue() const {
        return channelType == ChannelType::Analogue || channelType == ChannelType::AnalogueCable;
    }

    MOXPVR_FIELDS {
        visit(Field{798, "videoPid", Meaning::Pid}, self.videoPid);
        visit(Field{802, "pcrPid", Meaning::Pid}, self.pcrPid);
        visit(Field{806, "audioPid", Meaning::Pid}, self.audioPid);
        visit(Field{824, "channelType", Meaning::Number}, self.channelType);
    }
};

#undef MOXPVR_FIELDS
#undef MOXPVR_NO_FIELDS
#undef MOXPVR_REQUEST

// --- Encoding and decoding -----------------------------------------------------------------------

namespace detail {

/// The unsigned integer that carries a value, and back.
template <typename Value>
constexpr std::uint64_t ToBits(Value value) {
    return static_cast<std::uint64_t>(value);
}
inline std::uint64_t ToBits(double value) {
    std::uint64_t bits = 0;
    static_assert(sizeof value == sizeof bits, "a rate is an IEEE 754 double");
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}
template <typename Value>
void FromBits(std::uint64_t bits, Value &value) {
    value = static_cast<Value>(bits);
}
inline void FromBits(std::uint64_t bits, double &value) {
    std::memcpy(&value, &bits, sizeof value);
}

/// Width of a field: that of its member, and of a list what it holds.
template <typename Value>
constexpr std::size_t WidthOf(const Value &value) {
    return sizeof value;
}
constexpr std::size_t WidthOf(const PidList &list) {
    return 4 + 4 * list.size();
}

struct SizeOfFields {
    std::size_t size = 0;

    template <typename Value>
    constexpr void operator()(const Field &field, const Value &value) {
        size = field.offset + WidthOf(value);
    }
};

/// Writes fields into bytes that are large enough for all of them.
struct Writer {
    unsigned char *bytes;

    template <typename Value>
    void operator()(const Field &field, const Value &value) const {
        Put(field.offset, ToBits(value), sizeof value);
    }
    void operator()(const Field &field, const TextField &value) const {
        std::memcpy(bytes + field.offset, value.text, sizeof value.text);
    }
    void operator()(const Field &field, const PidList &list) const {
        Put(field.offset, ToBits(list.announced), 4);
        for (std::size_t i = 0; i < list.size(); ++i)
            Put(field.offset + 4 + 4 * i, list.pid[i], 4);
    }

    void Put(std::size_t offset, std::uint64_t value, std::size_t width) const {
        for (std::size_t i = 0; i < width; ++i)
            bytes[offset + i] = static_cast<unsigned char>(value >> (8 * i));
    }
};

/// Reads fields from `size` bytes; what lies past them reads as 0.
struct Reader {
    const unsigned char *bytes;
    std::size_t size;

    template <typename Value>
    void operator()(const Field &field, Value &value) const {
        FromBits(Get(field.offset, sizeof value), value);
    }
    /// The path up to its NUL, zero-filled after it. One that does not end in its field is cut to
    /// 255 characters, so that no later reader overruns it.
    void operator()(const Field &field, TextField &value) const {
        value = TextField{};
        for (std::size_t i = 0; i < kTextFieldSize - 1; ++i) {
            value.text[i] = static_cast<char>(Get(field.offset + i, 1));
            if (value.text[i] == '\0')
                return;
        }
    }
    void operator()(const Field &field, PidList &list) const {
        list = PidList{};
        FromBits(Get(field.offset, 4), list.announced);
        for (std::size_t i = 0; i < list.size(); ++i)
            list.pid[i] = static_cast<std::uint32_t>(Get(field.offset + 4 + 4 * i, 4));
    }

    std::uint64_t Get(std::size_t offset, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t i = width; i > 0; --i)
            value = value << 8 | (offset + i <= size ? bytes[offset + i - 1] : 0U);
        return value;
    }
};

/// Requests start with their command word, the other records with their first field.
template <typename Record>
auto PutCommand(const Writer &writer, int /*preferred*/) -> decltype(Record::Number(), void()) {
    writer.Put(0, static_cast<std::uint64_t>(Record::Number()), 4);
}
template <typename Record>
void PutCommand(const Writer & /*writer*/, long /*otherwise*/) {}

}  // namespace detail

/// @param record  with its list filled, where it has one
/// @return        bytes from the start of a record to the end of its last field, 4 at least
template <typename Record>
constexpr std::size_t EncodedSize(const Record &record) {
    detail::SizeOfFields fields;
    Record::Fields(record, fields);
    return fields.size < 4 ? 4 : fields.size;
}

/// Encodes a record; bytes between its fields stay as they are.
/// @param record  request, reply, event or information file
/// @param bytes   EncodedSize(record) of them, zeroed by the caller
template <typename Record>
void Encode(const Record &record, unsigned char *bytes) {
    const detail::Writer writer{bytes};
    detail::PutCommand<Record>(writer, 0);
    Record::Fields(record, writer);
}

/// @param record  request, reply, event or information file
/// @return        its bytes, zero between the fields
/// @throw std::bad_alloc  out of memory
template <typename Record>
std::vector<unsigned char> EncodeBytes(const Record &record) {
    std::vector<unsigned char> bytes(EncodedSize(record));
    Encode(record, bytes.data());
    return bytes;
}

/// Decodes a record. Every field is written; those that lie past the bytes, in whole or in part,
/// read 0 there. The command number of a request is ignored.
/// @param bytes   from the start of the record; null only with a size of 0
/// @param size    how many
/// @param record  out
template <typename Record>
void Decode(const unsigned char *bytes, std::size_t size, Record &record) {
    const detail::Reader reader{bytes, size};
    Record::Fields(record, reader);
}

/// A request as the control calls take it: two lower-case hexadecimal digits per byte.
class RequestText {
  public:
    /// @param request  encoded at once; not kept
    /// @throw std::bad_alloc  out of memory
    template <typename Request>
    explicit RequestText(const Request &request) {
        static_assert(sizeof Request::Number() == 4, "only requests have a command number");
        static constexpr char kDigits[] = "0123456789abcdef";
        for (const unsigned char byte : EncodeBytes(request)) {
            m_text += kDigits[byte >> 4];
            m_text += kDigits[byte & 15];
        }
    }

    /// @return the text, NUL-terminated; belongs to this object
    unsigned char *data() { return reinterpret_cast<unsigned char *>(&m_text[0]); }
    /// @return its characters, the NUL not counted
    unsigned int size() const { return static_cast<unsigned int>(m_text.size()); }
    /// @return the same text; belongs to this object
    const std::string &text() const { return m_text; }

  private:
    std::string m_text;
};

namespace detail {

/// @return the value of a hexadecimal digit, -1 for every other character
constexpr int DigitValue(unsigned char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

}  // namespace detail

/// Decodes the text of a reply (or of a short request).
/// @param text    `size` characters, either case; null is refused
/// @param size    of the text, in characters
/// @param record  out: stays as it was when the text is refused
/// @return        false for a text that holds something else than pairs of hexadecimal digits,
///                fewer bytes than the record or more than a request may have
/// @throw std::bad_alloc  out of memory
template <typename Record>
bool DecodeText(const unsigned char *text, std::size_t size, Record &record) {
    if (text == nullptr || size % 2 != 0 || size > kMaxRequestText ||
        size / 2 < EncodedSize(Record{}))
        return false;
    std::vector<unsigned char> bytes(size / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int high = detail::DigitValue(text[2 * i]);
        const int low = detail::DigitValue(text[2 * i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes[i] = static_cast<unsigned char>(16 * high + low);
    }
    Decode(bytes.data(), bytes.size(), record);
    return true;
}

/// @param bytes  of a request
/// @param size   how many
/// @return       the command number that it starts with, 0 for fewer than four bytes
inline std::uint32_t CommandOf(const unsigned char *bytes, std::size_t size) {
    return static_cast<std::uint32_t>(
        detail::Reader{bytes, size < 4 ? std::size_t{0} : size}.Get(0, 4));
}

}  // namespace moxpvr

#endif
