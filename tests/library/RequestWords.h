/// @file
/// Control requests in words, laid out by the protocol header: "SetDemuxProperty 0x101 0x100",
/// "SetSinkProperty /pvr/a.srf isTimeshift:1", or "20" for a command that has no name.
#ifndef TESTS_LIBRARY_REQUESTWORDS_H
#define TESTS_LIBRARY_REQUESTWORDS_H

#include <cctype>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "MoxPvrProtocol.h"

/// Whose command a request names.
enum class Side { Recorder, Playback };

/// Lays out a record as far as there are words for its fields: in order, or as "name:value".
/// Integers are written with 32 bits at least, so that a word can fill what lies after a shorter
/// field; a field that lies there is written over it.
class RecordOfWords {
  public:
    RecordOfWords(std::uint32_t command, std::istream &words) {
        Put(0, &command, sizeof command);
        for (std::string word; words >> word;)
            m_words.push_back(word);
    }

    template <typename Value>
    void operator()(const moxpvr::Field &field, const Value & /*value*/) {
        const std::string word = Take(field);
        if (word.empty())
            return;
        const std::uint64_t value = std::stoull(word, nullptr, 0);
        Put(field.offset, &value, sizeof(Value) < 4 ? 4 : sizeof(Value));
    }
    void operator()(const moxpvr::Field &field, const double & /*value*/) {
        const std::string word = Take(field);
        const double value = word.empty() ? 0 : std::stod(word);
        if (!word.empty())
            Put(field.offset, &value, sizeof value);
    }
    void operator()(const moxpvr::Field &field, const moxpvr::TextField & /*value*/) {
        std::string word = Take(field);
        word.resize(word.empty() ? 0 : moxpvr::kTextFieldSize);
        Put(field.offset, word.data(), word.size());
    }
    void operator()(const moxpvr::Field &field, const moxpvr::PidList & /*value*/) {
        for (moxpvr::Field entry = field; !m_words.empty(); entry.offset += 4)
            (*this)(entry, std::uint32_t{});
    }

    std::string Digits() const {
        std::string digits;
        for (const unsigned char byte : m_bytes)
            for (const int nibble : {byte >> 4, byte & 15})
                digits += "0123456789abcdef"[nibble];
        return digits;
    }

  private:
    std::string Take(const moxpvr::Field &field) {
        const std::string name = field.name + std::string(":");
        for (auto word = m_words.begin(); word != m_words.end(); ++word) {
            const bool isNamed = word->compare(0, name.size(), name) == 0;
            if (!isNamed && (word != m_words.begin() || word->find(':') != std::string::npos))
                continue;
            std::string value = word->substr(isNamed ? name.size() : 0);
            m_words.erase(word);
            return value;
        }
        return "";
    }

    void Put(std::size_t offset, const void *bytes, std::size_t count) {
        m_bytes.resize(count == 0 ? m_bytes.size() : std::max(m_bytes.size(), offset + count));
        std::memcpy(m_bytes.data() + offset, bytes, count);
    }

    std::vector<std::string> m_words;
    std::vector<unsigned char> m_bytes;
};

/// @return the text of a request
inline std::string RequestOf(Side side, const std::string &line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    std::string text;
    const auto visit = [&](const auto &record) {
        if (command != record.Name())
            return;
        RecordOfWords bytes(static_cast<std::uint32_t>(record.Number()), words);
        record.Fields(record, bytes);
        text = bytes.Digits();
    };
    if (std::isdigit(static_cast<unsigned char>(command.at(0))) != 0)
        return RecordOfWords(static_cast<std::uint32_t>(std::stoul(command)), words).Digits();
    if (side == Side::Recorder)
        moxpvr::recorder::ForEachRequest(visit);
    else
        moxpvr::playback::ForEachRequest(visit);
    return text.empty() ? throw std::invalid_argument(line) : text;
}

#endif
