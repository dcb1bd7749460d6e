/// @file
/// What the desktop stand-in for the TV platform offers beyond the platform's own calls: the means
/// to make its objects, to feed them, and to see what a viewer would see.
///
/// A service on a real TV gets its player, stream and recorder from the TV; a program on a PC makes
/// them here and hands them to the library as opaque pointers.
#ifndef TVDESKTOP_TVDESKTOP_H
#define TVDESKTOP_TVDESKTOP_H

#include <MOXHandle.h>
#include <TVTypes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tvdesktop {

// --- Log -----------------------------------------------------------------------------------------

/// Where log lines go; standard error until told otherwise. One `write` per line, whole lines from
/// any thread. Thread-safe.
/// @param path  appended to; empty for standard error
/// @return false when the file cannot be opened (the target stays as it was)
bool SetLogFile(const std::string &path);

/// Lines of a lower priority are dropped. Priorities are 2, 4 and 16; above 16 silences the log.
void SetLogMinimumPriority(int priority);

/// Takes a line as it is written, with its time and its end. Runs on the thread that logs, which it
/// must not do itself.
using LogListener = std::function<void(std::string_view line)>;

/// Hands every line to a listener as well, whatever its priority; null ends that. A line that
/// another thread is logging at that moment may still come. Thread-safe.
void SetLogListener(LogListener listener);

// --- Events --------------------------------------------------------------------------------------

/// An event as a service receives it.
struct Event {
    int number = 0;
    std::optional<MOXHandle> handle;  ///< set when it was sent with one
    std::array<std::uint8_t, 16> record{};
};

/// Runs on the sender's thread, without a lock held.
using EventSubscriber = std::function<void(const Event &)>;

/// @return a number for Unsubscribe. Thread-safe.
int Subscribe(EventSubscriber subscriber);
/// Events sent after it returns do not reach the subscriber; one that another thread is delivering
/// at that moment still may.
void Unsubscribe(int subscription);

// --- Files ---------------------------------------------------------------------------------------

/// Replaces a file as a whole, or makes it: written under a name of its own beside it, brought to
/// the disk, then renamed over it. At every moment there is the old file or the new one, and no
/// link is followed.
/// @return false on failure, nothing changed; errno holds the reason
bool ReplaceFile(const std::string &path, const void *bytes, std::size_t size);

/// @return true while a recorder of this machine writes to the file, as IsSourceBeingWritten tells
///         of a source; false for what is not a regular file or cannot be read. Reentrant.
bool IsBeingWritten(const std::string &path);

// --- Configuration -------------------------------------------------------------------------------

/// What TCVConfProvider::GetDescrambleMode answers; 0 until told otherwise. Thread-safe.
void SetDescrambleMode(int mode);

// --- Services of a transport stream --------------------------------------------------------------

enum class StreamKind { Video, Audio, AudioDescription, Other };

/// One entry of a PMT's elementary stream loop (ISO/IEC 13818-1, 2.4.4.8).
struct ElementaryStream {
    std::uint16_t pid = 0;
    std::uint8_t streamType = 0;  ///< stream_type as in the PMT
    StreamKind kind = StreamKind::Other;
    std::string codec;     ///< readable name, such as "H.264" or "AC-3"
    std::string language;  ///< ISO 639 code, may be empty
    EVideoEncodeType videoCodec = VIDEO_ENCODE_UNKNOWN;
    EAudioEncodeType audioCodec = AUDIO_ENCODE_UNKNOWN;
};

/// One service with a PMT.
struct Service {
    std::uint16_t id = 0;  ///< program_number
    std::string name;      ///< from the SDT, UTF-8, may be empty
    std::string provider;
    std::uint16_t pmtPid = 0;
    std::uint16_t pcrPid = 0x1FFF;
    std::vector<ElementaryStream> streams;  ///< in PMT order

    /// @return the first stream of a kind, or null
    const ElementaryStream *First(StreamKind kind) const;
};

struct ScanResult {
    std::string error;              ///< empty on success; else one sentence for the user
    std::vector<Service> services;  ///< by service id
};

/// Reads the services of a transport stream (PAT, PMTs, SDT) from its beginning, at most 64 MiB.
ScanResult ScanServices(const std::string &path);

/// Channel information as a TV would hand it out for a service.
TvChannelInfo ChannelInfoOf(const Service &service);

/// Hands out the packets of a transport stream as a recorder takes them: 188 bytes from the sync
/// byte on, those cut short or with transport_error_indicator left out.
/// @param visit  false ends it
/// @return false when the file cannot be read
bool ReadPackets(const std::string &path, const std::function<bool(const std::uint8_t *)> &visit);

// --- Recorder ------------------------------------------------------------------------------------

/// What tv_recorder_* answers; 0 is success.
enum RecorderCode : int {
    kRecorderOk = 0,
    kRecorderNoObject = 1,     ///< null, or an object of another kind
    kRecorderBadProperty = 2,  ///< unknown id, null pointer, not a PID: nothing of the list applied
    kRecorderAlreadyRunning = 3,  ///< started already; also: sink properties of a running recorder
    kRecorderNotRunning = 4,      ///< not started, or ended; paused twice, resumed without a pause
    kRecorderNoSink = 5,          ///< started without a file name
    kRecorderSourceFailed = 6,    ///< the source cannot be opened
    kRecorderSinkFailed = 7,      ///< the sink or its side file cannot be opened, or is the source,
                                  ///< or another recorder writes it
    kRecorderWriteFailed = 8,     ///< a stop or a swap could not write everything
    kRecorderNotTimeshift = 9,    ///< swap of a sink that is not a timeshift buffer in a file
    kRecorderFileExists = 10,     ///< swap to a file that exists, or whose side file does; it stays
    kRecorderRateUnknown = 11,    ///< too little recorded for a timeshift duration
    kRecorderInsideCallback = 12,  ///< start, stop and swap are refused inside the callback
    kRecorderOutOfResources = 13,  ///< no memory or no thread
};

/// app_type of the messages of TV_PLAYER_CALLBACK_PVR_RECORDER_APPLICATION.
enum RecorderApplication : int {
    kRecorderFirstPacket = 2,  ///< the first packets are in the sink; app_param 0
    kRecorderEnd = 4,          ///< end of source, or the set duration is reached; app_param: stream
                               ///< time written in milliseconds
};

/// Error codes of the messages of TV_PLAYER_CALLBACK_PVR_RECORDER_ERROR; their domain is the
/// quark "tvdesktop-recorder-error".
enum RecorderError : int {
    kRecorderErrorSource = 0,   ///< the source failed, or is not a transport stream
    kRecorderErrorWrite = 2,    ///< the sink failed
    kRecorderErrorNoSpace = 4,  ///< no space left for the sink
};

struct RecorderOptions {
    std::string source;  ///< transport stream: a file, a pipe, "-" for standard input
    double speed = 1.0;  ///< times stream time, paced by the PCR; 0: as fast as the disk allows
};

/// Makes a recorder for tv_recorder_*.
///
/// - tv_recorder_start opens the source and the sink. A regular file is emptied first, as a TV
///   does, together with its side file; a program that wants to keep an earlier recording asks
///   before. A FIFO needs a reader. What cannot be opened is answered with a code, what fails later
///   arrives through the callback: it runs on the recorder's thread, without a lock held, after the
///   recorder has ended by itself. A recorder that has ended keeps its position; tv_recorder_stop
///   answers it as it would have been answered then, and it may be started again.
/// - A sink is written by one recorder at a time, whatever name it is reached by; the second is not
///   started. A file system without locks cannot tell them apart: both are started there. What was
///   made for a recording that did not get a packet before it failed is removed.
/// - A recording whose file was removed or replaced while it ran is kept in another file as far as
///   that is possible; it counts as failed, and RecorderFailure names that file.
/// - Inside the callback every call is allowed but start, stop, swap and DestroyRecorder.
/// - tv_recorder_pause stops the reading of the source; tv_recorder_resume continues with the next
///   packet. tv_recorder_stop returns when everything recorded is flushed and closed; a pipe whose
///   reader is slow has one second in all, then the rest is lost and the stop answers 8.
/// - Packets whose transport_error_indicator is set are not recorded, nor are packets cut short.
///   Of packets of 192 and 204 bytes the 188 from the sync byte on are recorded.
/// - A recording that is paced or limited ends with a source error when 4 MiB of it have no PCR.
/// - Positions are milliseconds of stream time in the sink, counted by the PCRs that were recorded.
/// - tv_recorder_get_timeshift_duration takes KiB and gives milliseconds, by the mean rate so far.
/// - A swap (property 55) moves everything buffered into the new file, which then takes all that
///   follows; the side file goes along. It moves the file that is open: what has taken its name
///   meanwhile stays where it is. It makes a recording of the buffer whatever its flags are.
/// - Stream property 1413 limits the recording to a stream time in milliseconds.
/// - Property 60 is kept beside the recording, in the file with ".chan" appended, with the stream
///   time and byte offset from which on it applies. Properties 34, 52 and 61 have no effect here.
///
/// @return null when there is no memory for it; the source is opened by tv_recorder_start
void *CreateRecorder(const RecorderOptions &options);
/// Stops it if it runs. Inside its callback it is refused: the recorder stays.
void DestroyRecorder(void *recorder);

/// What a start, a swap or a recording failed of: one sentence with the file and the reason, for a
/// user. Thread-safe.
/// @return empty when the last start or swap succeeded and nothing failed since
std::string RecorderFailure(void *recorder);
/// What became of the packets of a source.
struct RecordingReport {
    std::uint64_t packets = 0;          ///< recorded
    std::uint64_t scrambled = 0;        ///< of these, not in clear
    std::uint64_t units = 0;            ///< pictures and frames of sound that begin in clear
    std::uint64_t transportErrors = 0;  ///< left out for their transport_error_indicator
    std::uint64_t lost = 0;      ///< left out, cut short or without sync byte; about that many
    bool hasStreamTime = false;  ///< a PCR was recorded
};

/// Thread-safe.
/// @return of the last recording that has ended
RecordingReport GetRecordingReport(void *recorder);

/// What the tables of the source say anew of a service while a recorder runs.
struct ServiceChange {
    Service service;          ///< as it is described from here on, with its name as it was known
    bool isListed = true;     ///< the PAT names it; otherwise its PMT is followed all the same
    std::int64_t timeMs = 0;  ///< stream time that is recorded until here
};

/// Runs on the recorder's thread, without a lock held; what is allowed inside the recorder's
/// callback is allowed here. One that throws was not told.
using ServiceObserver = std::function<void(const ServiceChange &)>;

/// Lets a recorder follow the description of a service: other streams, PIDs or codecs in its PMT,
/// another PID of the PMT, a PAT that no longer names the service, or names it again. Only tables
/// that are in force and whole count; what is repeated is not told again.
///
/// The recorder waits with the packets that follow the change until ContinueRecording, so nothing
/// is lost between the description and the properties that a program sets for it, from this thread
/// or from another. A stop, a pause and a swap are done meanwhile; a stop ends the waiting.
///
/// Also while it runs, from the next packet on.
/// @param known     what the program knows of the service; any difference is a change
/// @param observer  null to follow nothing; a recorder that waits continues
void SetServiceObserver(void *recorder, const Service &known, ServiceObserver observer);
/// Lets a recorder continue that waits with a change; harmless when it does not. Thread-safe.
void ContinueRecording(void *recorder);

// --- Repair --------------------------------------------------------------------------------------

struct RepairResult {
    enum class Outcome {
        Kept,     ///< the side file agrees with the recording and lacks nothing; it was not touched
        Rebuilt,  ///< a side file was written
        Nothing,  ///< neither side file nor recording names a channel; nothing was touched
    };
    std::string error;  ///< empty on success; else one sentence for the user, and nothing changed
    Outcome outcome = Outcome::Nothing;
    std::size_t stretches = 0;  ///< in the side file now
};

/// Rebuilds the side file (".chan") of a recording from its packets, and never makes it worse:
/// every stretch of the old one that agrees with the recording stays as it is, those that the
/// packets show beyond them are added, and only what contradicts the recording goes.
///
/// A stretch agrees when it begins with a packet or at the recording's end, at the stream time that
/// the services found before it make up, and when its PIDs belong to the service whose packets
/// follow.
///
/// The index of stream time is made anew with it when it contradicts the packets, or leaves more
/// than 64 MiB out at the end.
///
/// A change to another service and back within half a second looks like two services that are
/// mixed, so the packets do not show it. A recording that grows meanwhile is refused. Reentrant.
RepairResult RepairChannelLog(const std::string &recording);

// --- Player --------------------------------------------------------------------------------------

/// What tv_player_* and tv_stream_* answer; 0 is success.
enum PlayerCode : int {
    kPlayerOk = 0,
    kPlayerNoObject = 201,     ///< null, or not a player, stream or recorder of the stand-in
    kPlayerWrongState = 202,   ///< started already, or not started yet
    kPlayerBadArgument = 203,  ///< a missing output, a rate that is 0 or not a number
    kPlayerBadProperty = 204,  ///< an id or a value that cannot be read; nothing was applied
    kPlayerNoSource = 205,  ///< no source is set, it is not a readable file, or it became shorter
    kPlayerNoStream = 206,  ///< no stream time, no PID to decode, or no picture to step to
    kPlayerNoChannelInfo = 207,   ///< neither side file nor PMT
    kPlayerOutOfResources = 208,  ///< no memory or no thread
};

/// subEventType of the messages of TV_PLAYER_CALLBACK_PVR_PLAYER_APPLICATION. The ends are reported
/// once per arrival (and again when a command at the end leads nowhere else).
enum PlayerApplication : int {
    kPlayerEndReached = 0,
    kPlayerBeginReached = 1,
    kPlayerChannelChanged = 3,  ///< playback ran over the border of two channel stretches
};

/// errCode of the messages of TV_PLAYER_CALLBACK_PVR_PLAYER_ERROR. The playback is stopped.
enum PlayerError : int {
    kPlayerErrorSource = 1,            ///< the source cannot be read, or became shorter
    kPlayerErrorNothingDecodable = 3,  ///< nothing in the source can be decoded
};

/// What a player callback carries; zero where it does not apply.
///
/// - Callback 16: the first picture after a start, a seek, a change of speed or of the video PID;
///   23: the same for the audio of a playback without video. It comes when the recording has a
///   unit start on the programmed PID around the position, inside the same channel stretch;
///   never on a wrong PID. Several causes before it make one callback.
/// - Callback 30: a PlayerApplication at the place `timeCode`. At either end the clock waits with
///   its rate unchanged; it continues by itself when the file grows.
/// - Callback 31: a PlayerError.
struct PlayerMessage {
    int subEventType = 0;  ///< PlayerApplication
    int timeCode = 0;      ///< milliseconds of stream time
    int errCode = 0;       ///< PlayerError
};

/// Runs on the player's clock thread, without a lock held.
using PlayerCallback = std::function<void(TVCallbackType type, const PlayerMessage &message)>;

struct PlayerOptions {
    /// The player's clock runs this many times faster than real time; 1.0 in place of what is not
    /// above 0 or not finite.
    double clockFactor = 1.0;
};

/// A player for tv_player_*. A source (801) ends what played before; its times come from the index
/// in its side file, or from what GetTimeSource names. tv_stream_start plays at 1.0 from the start
/// position (806), or on from where tv_player_ready holds. Seeks and changes of speed play; a
/// change of speed never moves the position, whatever its argument says. A seek to a border belongs
/// to the later stretch when it plays forward, to the earlier one when it plays back. A step
/// pauses.
/// @return null when there is no memory or no thread for it
void *CreatePlayer(const PlayerOptions &options);
/// @return the stream of a player for tv_stream_*; lives as long as the player
void *StreamOf(void *player);
void SetPlayerCallback(void *player, PlayerCallback callback);
/// Stops it if it runs. What was reported before is still delivered, nothing that callbacks cause
/// meanwhile; no callback runs after it. Does nothing inside a callback.
void DestroyPlayer(void *player);

/// What the viewer would see and hear, and what was programmed last. Values that were never set
/// are -1 where no other default is given.
struct PlayerState {
    enum class Run { Stopped, Ready, Playing, Paused };
    Run run = Run::Stopped;
    double rate = 1.0;          ///< at which it plays, whatever was asked for
    std::uint16_t program = 0;  ///< of the channel stretch that plays, 0 when none is known; at a
                                ///< border the direction decides which one it is
    std::int64_t positionMs = 0;
    std::int64_t durationMs = 0;
    int videoPid = -1;
    int audioPid = -1;
    int pcrPid = -1;
    int videoCodec = -1;  ///< property 509
    int audioCodec = -1;  ///< property 314
    int stereoMode = -1;  ///< property 320
    int hasVideo = -1;    ///< property 307
    int adPid = -1;       ///< property 134
    int adCodec = -1;     ///< property 1214
    bool adEnabled = false;
    bool audioMuted = false;  ///< property 406
    bool videoMuted = false;  ///< property 602
    bool still = false;       ///< property 603
    bool held = false;        ///< property 302
    bool sourceMuted = true;  ///< property 807; a source starts muted
    int threeDMode = 0;
    int threeDFormat = -1;
    int subVideoPid = -1;
    bool waitingForUnmute = false;  ///< no decodable unit found yet on the programmed PIDs
};

/// Never waits for a recording that is being opened or searched: then it answers what was known
/// before. So does tv_player_get_position. Thread-safe.
PlayerState GetPlayerState(void *player);

/// @return true while a recorder of this machine writes to the source: it holds the file's write
/// lock
///         (F_OFD_SETLK), also after a swap gave the file another name. Asking takes no lock. Where
///         the file system has no locks, false. Thread-safe.
bool IsSourceBeingWritten(void *player);

/// Where the stream times of a source come from.
enum class TimeSource {
    None,     ///< there is no source, or nothing in it yet
    Index,    ///< the side file's index, which agrees with the recording
    Scan,     ///< no index: the recording was read, at most 64 MiB
    Samples,  ///< no index: samples of a larger recording; positions are those of an undamaged one,
              ///< and a jump of its PCR may go unnoticed
};
/// Thread-safe.
TimeSource GetTimeSource(void *player);

/// Times and channel information of the stretches of the source, as far as it is known.
struct ChannelStretchInfo {
    std::int64_t timeMs = 0;
    TvChannelInfo info{};
};
std::vector<ChannelStretchInfo> GetChannelStretches(void *player);

}  // namespace tvdesktop

#endif
