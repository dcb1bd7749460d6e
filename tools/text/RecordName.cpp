#include "text/RecordName.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <numeric>
#include <utility>

#include "Failure.h"
#include "text/TableText.h"

namespace tool {

namespace {

struct KindWords {
    RecordKind kind;
    const char *name;
    const char *text;
};

constexpr KindWords kKinds[] = {{RecordKind::Recorder, "recorder", "command of a recorder"},
                                {RecordKind::Playback, "playback", "command of a playback"},
                                {RecordKind::Reply, "reply", "reply"},
                                {RecordKind::Event, "event", "event"}};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// @return indexes of the names that a text means: the one that is equal, or else all that have it
///         in them
std::vector<std::size_t> Find(const std::vector<std::string> &names, const std::string &text) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (Lower(names[i]) == Lower(text))
            return {i};
        if (!text.empty() && Lower(names[i]).find(Lower(text)) != std::string::npos)
            found.push_back(i);
    }
    return found;
}

/// @return how many characters to insert, remove or replace to make one text of the other
std::size_t EditsBetween(const std::string &from, const std::string &to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

/// @return the name that a text was probably meant to be; empty when none is near
std::string Nearest(const std::vector<std::string> &names, const std::string &text) {
    constexpr std::size_t kLongestName = 64;
    if (text.size() > kLongestName)
        return "";
    std::string nearest;
    std::size_t fewest = text.size() / 2 + 1;
    for (const std::string &name : names) {
        const std::size_t edits = EditsBetween(Lower(text), Lower(name));
        if (edits < fewest) {
            fewest = edits;
            nearest = name;
        }
    }
    return nearest;
}

[[noreturn]] void RefuseUnknown(const std::string &text, const std::string &what,
                                const std::vector<std::string> &names) {
    const std::string nearest = Nearest(names, text);
    throw UsageError("'" + text + "' is not a " + what +
                     (nearest.empty() ? "" : " (did you mean " + nearest + "?)") +
                     (names.empty() ? "; there is none" : "; known: " + ListText(names)));
}

bool IsNumber(const std::string &text) {
    return !text.empty() && text.size() < 10 &&
           std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

}  // namespace

std::vector<std::string> KindNames() {
    std::vector<std::string> names;
    for (const KindWords &row : kKinds)
        names.emplace_back(row.name);
    return names;
}

std::vector<std::string> LayoutNames(RecordKind kind) {
    std::vector<std::string> names;
    for (const RecordLayout &layout : LayoutsOf(kind))
        names.push_back(layout.name);
    return names;
}

std::vector<std::string> FieldNames(const RecordLayout &layout) {
    std::vector<std::string> names;
    for (const FieldLayout &field : layout.fields)
        names.emplace_back(field.name);
    return names;
}

const char *KindText(RecordKind kind) {
    return kKinds[static_cast<std::size_t>(kind)].text;
}

RecordKind KindNamed(const std::string &name) {
    const auto *found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                     [&](const KindWords &row) { return name == row.name; });
    if (found == std::end(kKinds))
        RefuseUnknown(name, "kind of record", KindNames());
    return found->kind;
}

std::vector<const RecordLayout *> LayoutsNamed(RecordKind kind, const std::string &name) {
    const std::vector<RecordLayout> &layouts = LayoutsOf(kind);
    std::vector<const RecordLayout *> found;
    if (IsNumber(name)) {
        for (const RecordLayout &layout : layouts)
            if (std::to_string(layout.number) == name)
                found.push_back(&layout);
    } else {
        for (const std::size_t index : Find(LayoutNames(kind), name))
            found.push_back(&layouts[index]);
    }
    if (found.empty())
        RefuseUnknown(name, KindText(kind), LayoutNames(kind));
    return found;
}

const FieldLayout &FieldNamed(const RecordLayout &layout, const std::string &name) {
    const std::vector<std::string> names = FieldNames(layout);
    const std::vector<std::size_t> found = Find(names, name);
    if (found.empty())
        RefuseUnknown(name, "field of " + layout.name, names);
    if (found.size() > 1) {
        std::vector<std::string> possible;
        possible.reserve(found.size());
        for (const std::size_t index : found)
            possible.push_back(names[index]);
        throw UsageError("'" + name + "' is part of several fields of " + layout.name +
                         "; write one of " + ListText(possible));
    }
    return layout.fields[found.front()];
}

}  // namespace tool
