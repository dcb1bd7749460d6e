#include "service/PvrService.h"

#include <MoxPvr.h>
#include <MoxPvrAPI.h>

#include <array>
#include <utility>

#include "Failure.h"

namespace tool {

namespace {

constexpr MOXHandle kPlaybackHandle{PROFILE_TYPE_MAIN, 0};
constexpr MOXHandle kRecorderHandle{PROFILE_TYPE_RECORD, 0};
constexpr std::size_t kLongestReply = 64;  ///< bytes; the longest documented reply has 12

std::vector<unsigned char> Encode(std::vector<std::uint8_t> record) {
    std::vector<unsigned char> text(2 * record.size() + 1);
    unsigned int length = 0;
    build_buf_to_string(record.data(), static_cast<unsigned int>(record.size()), text.data(),
                        &length);
    return text;
}

std::vector<std::uint8_t> Decode(unsigned char *text, unsigned int length) {
    std::vector<std::uint8_t> record(length / 2);
    int decoded = 0;
    parse_string_to_buf(reinterpret_cast<char *>(text), static_cast<int>(length), record.data(),
                        &decoded);
    return record;
}

/// Progress comes as the low 32 bits, which are signed here: a playback may be ahead of its start.
template <typename Fields>
Progress ProgressOf(const Reply &reply) {
    Fields fields;
    moxpvr::Decode(reply.record.data(), reply.record.size(), fields);
    return {static_cast<std::int32_t>(fields.position), static_cast<std::int32_t>(fields.duration)};
}

struct ResultWords {
    std::uint32_t result;
    const char *words;
};

constexpr ResultWords kRecorderResults[] = {
    {tvdesktop::kRecorderBadProperty, "the recorder does not take these values"},
    {tvdesktop::kRecorderAlreadyRunning, "it runs already"},
    {tvdesktop::kRecorderNotRunning, "it does not run"},
    {tvdesktop::kRecorderNoSink, "there is no file to write to"},
    {tvdesktop::kRecorderSourceFailed, "the source cannot be opened"},
    {tvdesktop::kRecorderSinkFailed, "the recording cannot be opened for writing"},
    {tvdesktop::kRecorderWriteFailed, "not everything could be written"},
    {tvdesktop::kRecorderNotTimeshift, "the sink is no timeshift buffer in a file"},
    {tvdesktop::kRecorderFileExists, "the file exists already"},
};

constexpr ResultWords kPlayerResults[] = {
    {tvdesktop::kPlayerWrongState, "the player is not in the state for it"},
    {tvdesktop::kPlayerNoSource, "the recording cannot be read"},
    {tvdesktop::kPlayerNoStream, "it has no stream time (PCR), or nothing to decode"},
    {tvdesktop::kPlayerNoChannelInfo, "nothing tells the channel of the recording"},
};

template <std::size_t Count>
const char *WordsIn(const ResultWords (&table)[Count], std::uint32_t result) {
    for (const ResultWords &row : table)
        if (row.result == result)
            return row.words;
    return "the platform refused it";
}

/// Results of the recorder after which it can name the file and the reason.
bool IsAboutFiles(std::uint32_t result) {
    return result == tvdesktop::kRecorderSourceFailed || result == tvdesktop::kRecorderSinkFailed ||
           result == tvdesktop::kRecorderWriteFailed || result == tvdesktop::kRecorderFileExists;
}

}  // namespace

std::string HexText(const std::vector<std::uint8_t> &record) {
    return record.empty() ? "" : reinterpret_cast<const char *>(Encode(record).data());
}

PvrService::PvrService() {
    m_subscription = tvdesktop::Subscribe([this](const tvdesktop::Event &event) {
        const std::lock_guard lock(m_mutex);
        m_events.push_back(event);
        m_arrived.notify_one();
    });
}

PvrService::~PvrService() {
    ReleaseRecorder();
    ReleasePlayer();
    tvdesktop::Unsubscribe(m_subscription);
}

void PvrService::TakeRecorder(void *recorder) {
    ReleaseRecorder();
    m_recorder = recorder;
    if (mox_pvr_set_recorder_handle(recorder) != 0)
        throw Failure("The library does not take the recorder.");
}

void PvrService::ReleaseRecorder() {
    if (m_recorder == nullptr)
        return;
    // The platform keeps the instance as its callback's user data: the recorder goes first.
    tvdesktop::DestroyRecorder(m_recorder);
    MoxPvrAPI::DestroyRecorder(kRecorderHandle);
    m_recorder = nullptr;
}

void PvrService::TakePlayer(void *player) {
    ReleasePlayer();
    m_player = player;
    tvdesktop::SetPlayerCallback(
        player, [this](TVCallbackType type, const tvdesktop::PlayerMessage &message) {
            const std::lock_guard lock(m_mutex);
            m_callbacks.push_back({type, message});
            m_arrived.notify_one();
        });
    mox_pvr_set_tv_player(player);
    if (mox_pvr_set_tv_stream(tvdesktop::StreamOf(player)) != 0)
        throw Failure("The library does not take the player.");
}

void PvrService::ReleasePlayer() {
    if (m_player == nullptr)
        return;
    tvdesktop::DestroyPlayer(m_player);
    MoxPvrAPI::DestroyPlayback(kPlaybackHandle);
    m_player = nullptr;
    const std::lock_guard lock(m_mutex);
    m_callbacks.clear();
}

IMOXPVRPlayback &PvrService::Playback() const {
    IMOXPVRPlayback *instance = MoxPvrAPI::GetPlaybackInstance(kPlaybackHandle);
    if (instance == nullptr)
        throw Failure("No playback is registered.");
    return *instance;
}

Reply PvrService::Send(const Request &request) {
    std::vector<unsigned char> text = Encode(request.record);
    std::array<unsigned char, 2 * kLongestReply + 1> replyText{};
    unsigned int replyLength = 0;
    const auto textLength = static_cast<unsigned int>(text.size() - 1);
    const auto control =
        request.target == Target::Recorder ? mox_pvr_control_recording : mox_pvr_control_playback;
    Reply reply;
    reply.result = control(textLength, text.data(), replyLength, replyText.data());
    reply.record = Decode(replyText.data(), replyLength);
    if (m_observer)
        m_observer(request, reply);
    return reply;
}

Reply PvrService::Do(const Request &request) {
    Reply reply = Send(request);
    if (reply.result != 0)
        throw Failure(FailureText(request, reply));
    return reply;
}

std::string PvrService::FailureText(const Request &request, const Reply &reply) const {
    const bool isRecorder = request.target == Target::Recorder;
    std::string words = isRecorder ? WordsIn(kRecorderResults, reply.result)
                                   : WordsIn(kPlayerResults, reply.result);
    const std::string known = isRecorder ? RecorderFailure() : "";
    if (!known.empty() && IsAboutFiles(reply.result))
        words = known;
    return std::string(request.name) + " failed: " + words + " (result " +
           std::to_string(reply.result) + ").";
}

Progress PvrService::RecorderProgress() {
    return ProgressOf<recorder::GetProgressReply>(Send(recorder::GetProgress{}));
}

Progress PvrService::PlaybackProgress() {
    return ProgressOf<playback::GetProgressReply>(Send(playback::GetProgress{}));
}

std::vector<tvdesktop::Event> PvrService::Take(std::chrono::milliseconds patience) {
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, patience,
                           [this] { return !m_callbacks.empty() || !m_events.empty(); });
    }
    HandCallbacksOn();
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_events, {});
}

void PvrService::HandCallbacksOn() {
    Callback callback{};
    while (NextCallback(callback)) {
        IMOXPVRPlayback::MOXPVRPlaybackCallbackProperty property{
            callback.message.subEventType, callback.message.timeCode, callback.message.errCode};
        Playback().DoTvpCallback(callback.type, &property);
    }
}

bool PvrService::NextCallback(Callback &callback) {
    const std::lock_guard lock(m_mutex);
    if (m_callbacks.empty())
        return false;
    callback = m_callbacks.front();
    m_callbacks.pop_front();
    return true;
}

}  // namespace tool
