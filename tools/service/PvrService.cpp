#include "service/PvrService.h"

#include <MoxPvr.h>
#include <MoxPvrAPI.h>

#include <array>
#include <utility>

#include "Failure.h"
#include "text/OutcomeText.h"

namespace tool {

namespace {

constexpr MOXHandle kPlaybackHandle{PROFILE_TYPE_MAIN, 0};
constexpr MOXHandle kRecorderHandle{PROFILE_TYPE_RECORD, 0};
constexpr std::size_t kLongestReply = 64;  ///< bytes; the longest documented reply has 12

/// Progress comes as the low 32 bits, which are signed here: a playback may be ahead of its start.
template <typename Fields>
Progress ProgressOf(const Reply &reply) {
    Fields fields;
    DecodeText(reply.text, fields);
    return {static_cast<std::int32_t>(fields.position), static_cast<std::int32_t>(fields.duration)};
}

/// Results of the recorder after which it can name the file and the reason.
bool IsAboutFiles(std::uint32_t result) {
    return result == tvdesktop::kRecorderSourceFailed || result == tvdesktop::kRecorderSinkFailed ||
           result == tvdesktop::kRecorderWriteFailed || result == tvdesktop::kRecorderFileExists;
}

}  // namespace

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
        throw Failure("cannot register the recorder: the library refused it");
}

void PvrService::ReleaseRecorder() {
    if (m_recorder == nullptr)
        return;
    // The platform keeps the instance as its callback's user data: the recorder goes first.
    tvdesktop::DestroyRecorder(m_recorder);
    MoxPvrAPI::DestroyRecorder(kRecorderHandle);
    m_recorder = nullptr;
    m_serviceChange.reset();
}

void PvrService::WatchService(const tvdesktop::Service &service) {
    tvdesktop::SetServiceObserver(m_recorder, service,
                                  [this](const tvdesktop::ServiceChange &change) {
                                      const std::lock_guard lock(m_mutex);
                                      m_serviceChange = change;
                                      m_arrived.notify_one();
                                  });
}

std::optional<tvdesktop::ServiceChange> PvrService::TakeServiceChange() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_serviceChange, std::nullopt);
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
        throw Failure("cannot register the player: the library refused it");
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
        throw Failure("cannot reach the playback: none is registered");
    return *instance;
}

Reply PvrService::Send(const Request &request) {
    const auto control =
        request.side == Side::Recorder ? mox_pvr_control_recording : mox_pvr_control_playback;
    std::string text = request.text;
    std::array<unsigned char, 2 * kLongestReply + 1> replyText{};
    unsigned int replySize = 0;
    Reply reply;
    reply.result =
        control(static_cast<unsigned int>(text.size()),
                reinterpret_cast<unsigned char *>(text.data()), replySize, replyText.data());
    reply.text.assign(replyText.begin(), replyText.begin() + replySize);
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
    std::string reason = ResultText(reply.result);
    if (request.side == Side::Recorder && IsAboutFiles(reply.result))
        if (const std::string known = RecorderFailure(); !known.empty())
            reason = known;
    return "request " + std::string(request.name) + " failed: " + reason + " (result " +
           std::to_string(reply.result) + ")";
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
        m_arrived.wait_for(lock, patience, [this] {
            return !m_callbacks.empty() || !m_events.empty() || m_serviceChange;
        });
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
