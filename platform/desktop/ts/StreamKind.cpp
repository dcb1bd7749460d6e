#include "ts/StreamKind.h"

// libdvbpsi's headers need the standard types and one another, in this order.
#include <sys/types.h>

#include <cstdint>

#include <dvbpsi/dvbpsi.h>

#include <dvbpsi/psi.h>

#include <dvbpsi/descriptor.h>

#include <dvbpsi/pmt.h>

#include <algorithm>
#include <iterator>

#include "ts/DvbText.h"

namespace tvdesktop::ts {

namespace {

struct Codec {
    int key;  ///< stream_type or descriptor_tag
    StreamKind kind;
    const char *name;
    EVideoEncodeType video;
    EAudioEncodeType audio;
};

/// By stream_type: ISO/IEC 13818-1, table 2-34; 0x81 and 0x87: ATSC A/53 part 3.
constexpr Codec kByStreamType[] = {
    {0x01, StreamKind::Video, "MPEG-1", VIDEO_ENCODE_MPEG1, AUDIO_ENCODE_UNKNOWN},
    {0x02, StreamKind::Video, "MPEG-2", VIDEO_ENCODE_MPEG2, AUDIO_ENCODE_UNKNOWN},
    {0x10, StreamKind::Video, "MPEG-4", VIDEO_ENCODE_MPEG4, AUDIO_ENCODE_UNKNOWN},
    {0x1B, StreamKind::Video, "H.264", VIDEO_ENCODE_H264, AUDIO_ENCODE_UNKNOWN},
    {0x24, StreamKind::Video, "HEVC", VIDEO_ENCODE_HEVC, AUDIO_ENCODE_UNKNOWN},
    {0x03, StreamKind::Audio, "MPEG-1 audio", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_MPEG1},
    {0x04, StreamKind::Audio, "MPEG-2 audio", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_MPEG2},
    {0x0F, StreamKind::Audio, "AAC", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AAC},
    {0x11, StreamKind::Audio, "HE-AAC", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_HEAAC},
    {0x81, StreamKind::Audio, "AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AC3},
    {0x87, StreamKind::Audio, "E-AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_EAC3},
    {0x05, StreamKind::Other, "private sections", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
    {0x06, StreamKind::Other, "private data", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
};

/// Private data by the descriptor that explains it: ETSI EN 300 468, table 12.
constexpr Codec kByDescriptor[] = {
    {0x6A, StreamKind::Audio, "AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AC3},
    {0x7A, StreamKind::Audio, "E-AC-3", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_EAC3},
    {0x7C, StreamKind::Audio, "AAC", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_AAC},
    {0x7B, StreamKind::Audio, "DTS", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
    {0x56, StreamKind::Other, "teletext", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
    {0x59, StreamKind::Other, "subtitles", VIDEO_ENCODE_UNKNOWN, AUDIO_ENCODE_UNKNOWN},
};

constexpr int kPrivateData = 0x06;

template <std::size_t size>
const Codec *Find(const Codec (&table)[size], int key) {
    const auto *found = std::find_if(std::begin(table), std::end(table),
                                     [key](const Codec &codec) { return codec.key == key; });
    return found != std::end(table) ? found : nullptr;
}

void Apply(const Codec *codec, ElementaryStream &stream) {
    if (codec == nullptr)
        return;
    stream.kind = codec->kind;
    stream.codec = codec->name;
    stream.videoCodec = codec->video;
    stream.audioCodec = codec->audio;
}

// --- Audio description ---------------------------------------------------------------------------

/// The bytes of a descriptor; a byte beyond its end is 0, which marks nothing.
class Fields {
  public:
    explicit Fields(const dvbpsi_descriptor_t &descriptor)
        : m_data(descriptor.p_data), m_size(descriptor.i_length) {}

    std::uint8_t At(std::size_t offset) const {
        return offset < m_size ? m_data[offset] : std::uint8_t{0};
    }
    std::string Language(std::size_t offset) const {
        constexpr std::size_t kLength = 3;
        return offset + kLength <= m_size
                   ? PlainText({reinterpret_cast<const char *>(m_data) + offset, kLength})
                   : "";
    }

  private:
    const std::uint8_t *m_data;
    std::size_t m_size;
};

/// One of the codes that ISO 639-2 leaves to broadcasters; they use it for audio description.
bool IsDescriptionLanguage(const std::string &language) {
    return language == "qad" || language == "QAD";
}

/// component_type of MPEG-1 layer 2 (stream_content 2): ETSI EN 300 468, table 26.
bool IsDescriptionInLayer2(std::uint8_t type) {
    return type == 0x40 || type == 0x47 || type == 0x48;
}

/// component_type of HE-AAC (stream_content 6).
bool IsDescriptionInAac(std::uint8_t type) {
    return type == 0x40 || type == 0x44 || (type >= 0x47 && type <= 0x4A);
}

/// component_type of AC-3 and E-AC-3 (stream_content 4): service type 2, ETSI EN 300 468, annex D.
bool IsDescriptionInAc3(std::uint8_t type) {
    return (type >> 3 & 0x07) == 2;
}

/// One way in which a descriptor marks a track for the visually impaired.
struct Mark {
    std::uint8_t tag;
    bool (*isDescription)(const Fields &fields);
};

bool MarkedByLanguage(const Fields &fields) {
    constexpr std::uint8_t kVisuallyImpaired = 3;  // audio_type: ISO/IEC 13818-1, 2.6.19
    return fields.At(3) == kVisuallyImpaired || IsDescriptionLanguage(fields.Language(0));
}

bool MarkedByComponent(const Fields &fields) {
    const std::uint8_t type = fields.At(1);
    switch (fields.At(0) & 0x0F) {
        case 2:
            return IsDescriptionInLayer2(type);
        case 4:
            return IsDescriptionInAc3(type);
        case 6:
            return IsDescriptionInAac(type);
        default:
            return false;
    }
}

bool MarkedByAc3(const Fields &fields) {
    const bool hasType = (fields.At(0) & 0x80) != 0;
    return hasType && IsDescriptionInAc3(fields.At(1));
}

bool MarkedByAac(const Fields &fields) {
    const bool hasType = (fields.At(1) & 0x80) != 0;
    return hasType && IsDescriptionInAac(fields.At(2));
}

/// editorial_classification 1: audio description; 3: spoken subtitles for the visually impaired.
bool MarkedBySupplement(const Fields &fields) {
    const int classification = fields.At(1) >> 2 & 0x1F;
    const bool hasLanguage = (fields.At(1) & 0x01) != 0;
    return classification == 1 || classification == 3 ||
           (hasLanguage && IsDescriptionLanguage(fields.Language(2)));
}

/// A track whose only preselection has audio description or spoken subtitles in it.
bool MarkedByPreselection(const Fields &fields) {
    const int count = fields.At(1) >> 3;
    return count == 1 && (fields.At(3) & 0xC0) != 0;
}

bool MarkedByExtension(const Fields &fields) {
    switch (fields.At(0)) {
        case 0x06:
            return MarkedBySupplement(fields);
        case 0x19:
            return MarkedByPreselection(fields);
        default:
            return false;
    }
}

/// By descriptor_tag: ETSI EN 300 468, clause 6.2 and 6.4.
constexpr Mark kMarks[] = {
    {0x0A, MarkedByLanguage}, {0x50, MarkedByComponent}, {0x6A, MarkedByAc3},
    {0x7A, MarkedByAc3},      {0x7C, MarkedByAac},       {0x7F, MarkedByExtension},
};

bool MarksDescription(const dvbpsi_descriptor_t &descriptor) {
    return std::any_of(std::begin(kMarks), std::end(kMarks), [&](const Mark &mark) {
        return mark.tag == descriptor.i_tag && mark.isDescription(Fields(descriptor));
    });
}

}  // namespace

ElementaryStream StreamFromPmt(const dvbpsi_pmt_es_s &entry) {
    constexpr std::uint8_t kLanguageTag = 0x0A;
    ElementaryStream stream;
    stream.pid = entry.i_pid;
    stream.streamType = entry.i_type;
    Apply(Find(kByStreamType, entry.i_type), stream);
    bool isDescription = false;
    for (const auto *descriptor = entry.p_first_descriptor; descriptor != nullptr;
         descriptor = descriptor->p_next) {
        if (entry.i_type == kPrivateData)
            Apply(Find(kByDescriptor, descriptor->i_tag), stream);
        if (descriptor->i_tag == kLanguageTag && stream.language.empty())
            stream.language = Fields(*descriptor).Language(0);
        isDescription |= MarksDescription(*descriptor);
    }
    if (stream.kind == StreamKind::Audio && isDescription)
        stream.kind = StreamKind::AudioDescription;
    if (stream.codec.empty())
        stream.codec = "type " + std::to_string(entry.i_type);
    return stream;
}

}  // namespace tvdesktop::ts
