#include "text/RecordLayout.h"

#include <type_traits>

namespace tool {

namespace {

using moxpvr::Field;

template <typename Value>
constexpr FieldType TypeOf() {
    if constexpr (std::is_enum_v<Value>)
        return TypeOf<std::underlying_type_t<Value>>();
    else
        return std::is_signed_v<Value> ? FieldType::Signed : FieldType::Unsigned;
}

/// Lists the fields that it visits.
struct FieldLister {
    std::vector<FieldLayout> &fields;

    template <typename Value>
    void operator()(const Field &field, const Value &value) {
        fields.push_back({field, sizeof value, TypeOf<Value>()});
    }
    void operator()(const Field &field, double value) {
        fields.push_back({field, sizeof value, FieldType::Rate});
    }
    void operator()(const Field &field, const moxpvr::TextField &value) {
        fields.push_back({field, sizeof value.text, FieldType::Path});
    }
    void operator()(const Field &field, const moxpvr::PidList &list) {
        fields.push_back({field, sizeof list.announced, FieldType::PidList});
    }
};

template <typename Record>
RecordLayout LayoutOf(RecordKind kind, std::uint32_t number, std::string name,
                      const Record &record) {
    RecordLayout layout{kind, number, std::move(name), {}, moxpvr::EncodeBytes(record)};
    Record::Fields(record, FieldLister{layout.fields});
    return layout;
}

/// Takes requests and replies from the protocol's lists.
struct LayoutLister {
    RecordKind kind;
    std::string prefix;
    std::vector<RecordLayout> &layouts;

    template <typename Record>
    void operator()(const Record &record) const {
        layouts.push_back(LayoutOf(kind, NumberOf<Record>(0), prefix + Record::Name(), record));
    }

  private:
    template <typename Record>
    static auto NumberOf(int /*request*/) -> decltype(Record::Number(), std::uint32_t()) {
        return static_cast<std::uint32_t>(Record::Number());
    }
    template <typename Record>
    static auto NumberOf(long /*reply*/) -> decltype(Record::Question(), std::uint32_t()) {
        return static_cast<std::uint32_t>(Record::Question());
    }
};

std::vector<RecordLayout> MakeLayouts(RecordKind kind) {
    std::vector<RecordLayout> layouts;
    switch (kind) {
        case RecordKind::Recorder:
            moxpvr::recorder::ForEachRequest(LayoutLister{kind, "", layouts});
            break;
        case RecordKind::Playback:
            moxpvr::playback::ForEachRequest(LayoutLister{kind, "", layouts});
            break;
        case RecordKind::Reply:
            moxpvr::recorder::ForEachReply(LayoutLister{kind, "recorder.", layouts});
            moxpvr::playback::ForEachReply(LayoutLister{kind, "playback.", layouts});
            break;
        case RecordKind::Event: {
            using SysChange = moxpvr::SysChangeEvent;
            using Started = moxpvr::RecorderStartedEvent;
            layouts = {
                LayoutOf(kind, moxpvr::SIGNAL_PVR_SYS_CHANGE, SysChange::Name(), SysChange{}),
                LayoutOf(kind, moxpvr::SIGNAL_PVR_RECORDER_STARTED, Started::Name(), Started{})};
            break;
        }
    }
    return layouts;
}

}  // namespace

const std::vector<RecordLayout> &LayoutsOf(RecordKind kind) {
    static const std::vector<RecordLayout> layouts[] = {
        MakeLayouts(RecordKind::Recorder), MakeLayouts(RecordKind::Playback),
        MakeLayouts(RecordKind::Reply), MakeLayouts(RecordKind::Event)};
    return layouts[static_cast<std::size_t>(kind)];
}

const RecordLayout *FindLayout(RecordKind kind, std::uint32_t number) {
    for (const RecordLayout &layout : LayoutsOf(kind))
        if (layout.number == number)
            return &layout;
    return nullptr;
}

}  // namespace tool
