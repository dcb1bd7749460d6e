#include "player/StreamProperties.h"

#include <tv_stream.h>

#include <algorithm>

namespace tvdesktop {
namespace {

/// Where a value goes; the member's type also tells the type of the argument. Nowhere: an int that
/// no stream keeps.
using Nowhere = std::monostate;
using Place = std::variant<Nowhere, int PlayerState::*, bool PlayerState::*, int PlaybackSource::*,
                           bool PlaybackSource::*, std::string PlaybackSource::*>;

struct Rule {
    int id;
    Place place;
};

const Rule kRules[] = {
    {TV_PROPERTY_AUDIO_PID, &PlayerState::audioPid},
    {TV_PROPERTY_VIDEO_PID, &PlayerState::videoPid},
    {TV_PROPERTY_PCR_PID, &PlayerState::pcrPid},
    {TV_PROPERTY_AD_PID, &PlayerState::adPid},
    {TV_PROPERTY_PLAYBACK_HOLD, &PlayerState::held},
    {TV_PROPERTY_HAS_VIDEO, &PlayerState::hasVideo},
    {TV_PROPERTY_AUDIO_CODEC_TYPE, &PlayerState::audioCodec},
    {TV_PROPERTY_AUDIO_DECODER_MPEG_STEREO_MODE, &PlayerState::stereoMode},
    {TV_PROPERTY_AUDIO_SINK_MUTE, &PlayerState::audioMuted},
    {TV_PROPERTY_VIDEO_CODEC_TYPE, &PlayerState::videoCodec},
    {TV_PROPERTY_VIDEO_SINK_MUTE, &PlayerState::videoMuted},
    {TV_PROPERTY_VIDEO_STILL_MODE, &PlayerState::still},
    {TV_PROPERTY_PVRSRC_URI, &PlaybackSource::path},
    {TV_PROPERTY_PVRSRC_IS_TIMESHIFT, &PlaybackSource::isTimeshift},
    {TV_PROPERTY_PVRSRC_START_POSITION, &PlaybackSource::startMs},
    {TV_PROPERTY_PVRSRC_MUTE, &PlayerState::sourceMuted},
    {TV_PROPERTY_AD_CODEC_TYPE, &PlayerState::adCodec},
    {TV_PROPERTY_RECORD_DURATION, Nowhere{}},
};

const Rule *RuleOf(int id) {
    const auto *rule = std::find_if(std::begin(kRules), std::end(kRules),
                                    [id](const Rule &entry) { return entry.id == id; });
    return rule == std::end(kRules) ? nullptr : rule;
}

/// Puts a value into the member of whichever of the two objects it belongs to.
struct Store {
    PlayerState &state;
    PlaybackSource &source;
    const std::variant<int, std::string> &value;

    void operator()(Nowhere) const {}
    void operator()(int PlayerState::*member) const { state.*member = std::get<int>(value); }
    void operator()(bool PlayerState::*member) const { state.*member = std::get<int>(value) != 0; }
    void operator()(int PlaybackSource::*member) const { source.*member = std::get<int>(value); }
    void operator()(bool PlaybackSource::*member) const {
        source.*member = std::get<int>(value) != 0;
    }
    void operator()(std::string PlaybackSource::*member) const {
        source.*member = std::get<std::string>(value);
    }
};

}  // namespace

std::optional<StreamPropertyList> ReadStreamProperties(int id, std::va_list values) {
    constexpr std::size_t kMostPairs = 64;
    StreamPropertyList list;
    for (; id != 0; id = va_arg(values, int)) {
        const Rule *rule = RuleOf(id);
        if (rule == nullptr || list.size() == kMostPairs)
            return std::nullopt;
        StreamProperty &property = list.emplace_back();
        property.id = id;
        if (!std::holds_alternative<std::string PlaybackSource::*>(rule->place)) {
            property.value = va_arg(values, int);
            continue;
        }
        const char *text = va_arg(values, const char *);
        if (text == nullptr)
            return std::nullopt;
        property.value.emplace<std::string>(text);
    }
    return list;
}

void ApplyStreamProperties(const StreamPropertyList &list, PlayerState &state,
                           PlaybackSource &source) {
    for (const StreamProperty &property : list)
        std::visit(Store{state, source, property.value}, RuleOf(property.id)->place);
}

bool Sets(const StreamPropertyList &list, int id) {
    return std::any_of(list.begin(), list.end(),
                       [id](const StreamProperty &property) { return property.id == id; });
}

}  // namespace tvdesktop
