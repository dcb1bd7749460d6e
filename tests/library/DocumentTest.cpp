// docs/protocol.md and docs/events.md repeat the layout of every record for their readers: it is
// that of the protocol header.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "MoxPvrProtocol.h"

namespace {

/// Offset and bytes of each field.
using Layout = std::vector<std::pair<std::size_t, std::size_t>>;

/// The layouts in a document's tables, by chapter and record: "Recorder commands/1 SetHandle",
/// "Recorder commands/Replies/10".
std::map<std::string, Layout> ReadTables(const std::string &document) {
    static const std::regex kRow(R"(\| (?:(\d+) \| )?(\d+) \| (\d+)(?: each)? \|.*)");
    std::map<std::string, Layout> tables;
    std::ifstream file(DOCS_FOLDER + document);
    std::string chapter, section, line;
    for (std::smatch row; std::getline(file, line);) {
        if (line.rfind("## ", 0) == 0) {
            chapter = line.substr(3);
            section.clear();
        } else if (line.rfind("### ", 0) == 0) {
            section = line.substr(4);
        } else if (std::regex_match(line, row, kRow)) {
            std::istringstream records(section.empty() ? chapter : section);
            for (std::string record; std::getline(records >> std::ws, record, ',');) {
                std::string key = section.empty() ? "" : chapter + "/";
                key += record;
                if (row[1].matched)
                    key.append("/").append(row[1]);
                tables[key].emplace_back(std::stoul(row[2]), std::stoul(row[3]));
            }
        }
    }
    return tables;
}

struct Fields {
    Layout layout;

    template <typename Value>
    void operator()(const moxpvr::Field &field, const Value & /*value*/) {
        layout.emplace_back(field.offset, sizeof(Value));
    }
    void operator()(const moxpvr::Field &field, const moxpvr::PidList & /*list*/) {
        layout.emplace_back(field.offset, 4);      // how many
        layout.emplace_back(field.offset + 4, 4);  // each
    }
};

/// Compares the tables of a document with records; each table belongs to one of them.
class Document {
  public:
    explicit Document(const std::string &name) : m_tables(ReadTables(name)) {}
    ~Document() {
        for (const auto &table : m_tables)
            ADD_FAILURE() << table.first << " is no record";
    }

    template <typename Record>
    void Check(const std::string &key, Record record) {
        Fields fields;
        Record::Fields(record, fields);
        EXPECT_EQ(m_tables[key], fields.layout) << key;
        m_tables.erase(key);
    }

  private:
    std::map<std::string, Layout> m_tables;
};

TEST(Documents, GiveTheOffsetsOfTheHeader) {
    Document protocol("protocol.md");
    const auto request = [&](const std::string &chapter) {
        return [&protocol, chapter](const auto &record) {
            protocol.Check(
                chapter + std::to_string(static_cast<int>(record.Number())) + " " + record.Name(),
                record);
        };
    };
    const auto reply = [&](const std::string &chapter) {
        return [&protocol, chapter](const auto &record) {
            protocol.Check(
                chapter + "Replies/" + std::to_string(static_cast<int>(record.Question())), record);
        };
    };
    moxpvr::recorder::ForEachRequest(request("Recorder commands/"));
    moxpvr::recorder::ForEachReply(reply("Recorder commands/"));
    moxpvr::playback::ForEachRequest(request("Playback commands/"));
    moxpvr::playback::ForEachReply(reply("Playback commands/"));
    protocol.Check("Information file", moxpvr::InformationFile{});
    Document events("events.md");
    events.Check("Record of event 31", moxpvr::SysChangeEvent{});
    events.Check("Record of event 32769", moxpvr::RecorderStartedEvent{});
}

}  // namespace
