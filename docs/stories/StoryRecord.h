/// @file
/// Records of the protocol header as words, as C++ and as tables.
#ifndef DOCS_STORIES_STORYRECORD_H
#define DOCS_STORIES_STORYRECORD_H

#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "MoxPvrProtocol.h"
#include "PlatformListener.h"

/// The words of a step: "handle=3 path=/pvr/news.srf". Values are written as in C++.
class Words {
  public:
    /// @throw std::runtime_error  for a word without a name
    explicit Words(std::istream &words) {
        for (std::string word; words >> word;) {
            const auto equals = word.find('=');
            if (equals == std::string::npos)
                throw std::runtime_error("not NAME=VALUE: " + word);
            m_values[word.substr(0, equals)] = word.substr(equals + 1);
        }
    }

    /// @return the value of a name, once; nothing when it is not given
    std::optional<std::string> Take(const std::string &name) {
        const auto node = m_values.extract(name);
        return node.empty() ? std::nullopt : std::optional(node.mapped());
    }

    /// @throw std::runtime_error  for a word that nothing took
    void End() const {
        if (!m_values.empty())
            throw std::runtime_error("no such field: " + m_values.begin()->first);
    }

  private:
    std::map<std::string, std::string> m_values;
};

/// Fills a record in from words, and writes the same in C++.
class FillIn {
  public:
    /// @param object  the record's name in C++
    FillIn(Words &words, std::string object) : m_words(words), m_object(std::move(object)) {}

    template <typename Value>
    void operator()(const moxpvr::Field &field, Value &value) {
        if (const auto word = m_words.Take(field.name)) {
            value = static_cast<Value>(std::stoll(*word, nullptr, 0));
            m_code += m_object + '.' + field.name + " = " + *word + ";\n";
        }
    }
    void operator()(const moxpvr::Field &field, double &value) {
        if (const auto word = m_words.Take(field.name)) {
            value = std::stod(*word);
            m_code += m_object + '.' + field.name + " = " + *word + ";\n";
        }
    }
    void operator()(const moxpvr::Field &field, moxpvr::TextField &value) {
        if (const auto word = m_words.Take(field.name)) {
            value.Set(*word);
            m_code += m_object + '.' + field.name + ".Set(\"" + *word + "\");\n";
        }
    }
    void operator()(const moxpvr::Field &field, moxpvr::PidList &value) {
        std::istringstream list(m_words.Take(field.name).value_or(""));
        for (std::string pid; std::getline(list, pid, ',');) {
            value.Add(static_cast<std::uint32_t>(std::stoul(pid, nullptr, 0)));
            m_code += m_object + '.' + field.name + ".Add(" + pid + ");\n";
        }
    }

    const std::string &code() const { return m_code; }

  private:
    Words &m_words;
    std::string m_object;
    std::string m_code;
};

/// @return a number, with its name in the protocol header
std::string Named(moxpvr::EventDetail detail);
std::string Named(moxpvr::RecordType type);

/// @return a platform call of the journal, with the names of its properties after their numbers
std::string WithPropertyNames(const std::string &call);

/// Writes the fields of a record as the rows of a table.
class Rows {
  public:
    template <typename Value>
    void operator()(const moxpvr::Field &field, const Value &value) {
        const auto number = static_cast<long long>(value);
        const bool isPid = field.meaning == moxpvr::Meaning::Pid;
        Row(field.offset, sizeof value, field.name, Format(isPid ? "0x%llx" : "%lld", number));
    }
    void operator()(const moxpvr::Field &field, const double &value) {
        Row(field.offset, sizeof value, field.name, Format("%g", value));
    }
    void operator()(const moxpvr::Field &field, const moxpvr::TextField &value) {
        Row(field.offset, sizeof value.text, field.name, '`' + std::string(value.c_str()) + '`');
    }
    void operator()(const moxpvr::Field &field, const moxpvr::PidList &list) {
        Row(field.offset, 4, "number of PIDs", std::to_string(list.announced));
        for (std::size_t i = 0; i < list.size(); ++i)
            Row(field.offset + 4 + 4 * i, 4, field.name, Format("0x%x", list.pid[i]));
    }
    void operator()(const moxpvr::Field &field, const moxpvr::EventDetail &value) {
        Row(field.offset, sizeof value, field.name, Named(value));
    }
    void operator()(const moxpvr::Field &field, const moxpvr::RecordType &value) {
        Row(field.offset, sizeof value, field.name, Named(value));
    }

    void Row(std::size_t offset, std::size_t bytes, const char *field, const std::string &value) {
        m_text += Format("| %zu | %zu | %s | ", offset, bytes, field) + value + " |\n";
    }

    /// @return the table, empty for a record without fields
    std::string Table() const {
        return m_text.empty() ? ""
                              : "| Offset | Bytes | Field | Value |\n|---|---|---|---|\n" + m_text;
    }

  private:
    std::string m_text;
};

/// @return the table of a record
template <typename Record>
std::string TableOf(const Record &record) {
    Rows rows;
    Record::Fields(record, rows);
    return rows.Table();
}

#endif
