#include "log/LogReader.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "text/TextParts.h"

namespace tool::log {

namespace {

/// The files that log, longest name first: none is the start of another.
constexpr std::array<std::string_view, 3> kFiles = {"MoxPvrPlayback.cpp", "MoxPvrRecord.cpp",
                                                    "MoxPvr.cpp"};
constexpr std::string_view kMarker = ") > [PVR][MOX]";
constexpr std::size_t kLongestFunction = 64;
constexpr std::size_t kMostDigits = 7;

bool IsIdentifier(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '~';
}

/// Reads a text from its front. What is asked for and missing only because the text has ended
/// counts as found: a log system has cut it.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : m_rest(text) {}

    bool Skip(std::string_view expected) {
        const std::size_t length = std::min(expected.size(), m_rest.size());
        if (m_rest.substr(0, length) != expected.substr(0, length))
            return false;
        m_hasEnded = m_hasEnded || length < expected.size();
        m_rest.remove_prefix(length);
        return true;
    }

    template <typename Accepts>
    std::string_view While(Accepts accepts, std::size_t most) {
        std::size_t length = 0;
        while (length < m_rest.size() && length < most && accepts(m_rest[length]))
            ++length;
        const std::string_view taken = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        m_hasEnded = m_hasEnded || m_rest.empty();
        return taken;
    }

    bool HasEnded() const { return m_hasEnded; }
    std::string_view Rest() const { return m_rest; }

  private:
    std::string_view m_rest;
    bool m_hasEnded = false;
};

/// The parts of a line, in the log's text.
struct Parts {
    std::string_view function;
    std::string_view digits;  ///< of the line in the source
    std::string_view message;
    bool isCut = false;
};

/// Reads "FILE: FUNCTION(LINE) > [PVR][MOX]MESSAGE", whole or cut after FILE.
bool ParseLine(std::string_view text, std::string_view file, Parts &parts) {
    Scanner scanner(text.substr(file.size()));
    if (!scanner.Skip(": "))
        return false;
    parts.function = scanner.While(IsIdentifier, kLongestFunction);
    const bool isNamed = !parts.function.empty() || scanner.HasEnded();
    if (!isNamed || !scanner.Skip("("))
        return false;
    parts.digits = scanner.While(IsDigit, kMostDigits);
    if ((parts.digits.empty() && !scanner.HasEnded()) || !scanner.Skip(kMarker))
        return false;
    parts.message = scanner.Rest();
    parts.isCut = scanner.HasEnded() && parts.message.empty();
    return true;
}

/// @return where the first name of a file that logs is, from `begin`; npos: nowhere
std::size_t FindFile(std::string_view text, std::size_t begin, std::string_view &file) {
    for (std::size_t at = text.find("MoxPvr", begin); at != std::string_view::npos;
         at = text.find("MoxPvr", at + 1)) {
        const auto *found = std::find_if(kFiles.begin(), kFiles.end(), [&](std::string_view name) {
            return text.substr(at, name.size()) == name;
        });
        if (found != kFiles.end()) {
            file = *found;
            return at;
        }
    }
    return std::string_view::npos;
}

bool IsBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return std::isspace(c) != 0; });
}

/// Takes escape sequences for colours and for clearing off the end of a text: "\x1b[0m", "\x1b[K".
std::string_view WithoutColour(std::string_view text) {
    while (EndsWith(text, "m") || EndsWith(text, "K")) {
        const std::size_t escape = text.rfind("\x1b[");
        const std::size_t end = text.find_first_not_of("0123456789;", escape + 2);
        if (escape == std::string_view::npos || end != text.size() - 1)
            break;
        text.remove_suffix(text.size() - escape);
    }
    return text;
}

/// Takes off what follows a message that is a text of a JSON object: its quotation mark, the names
/// after it, and the line end in it. No message has a quotation mark of its own.
std::string_view WithoutJson(std::string_view text) {
    if (!EndsWith(text, "}") && !EndsWith(text, "\""))
        return text;
    std::size_t quote = text.find('"');
    while (quote != std::string_view::npos && quote > 0 && text[quote - 1] == '\\')
        quote = text.find('"', quote + 1);
    text = text.substr(0, quote);
    while (EndsWith(text, "\\n"))
        text.remove_suffix(2);
    return text;
}

FoundLine Found(std::string_view file, const Parts &parts) {
    FoundLine found;
    found.line.file = file;
    found.line.function = parts.function;
    found.line.sourceLine = parts.digits.empty() ? 0 : std::stoi(std::string(parts.digits));
    found.line.message = WithoutColour(WithoutJson(parts.message));
    found.isTruncated = parts.isCut;
    return found;
}

}  // namespace

LogReader::Traits::int_type LogReader::TakeByte() {
    constexpr std::size_t kKept = 64;
    const Traits::int_type next = m_log.rdbuf()->sbumpc();
    if (m_firstBytes.size() < kKept && !Traits::eq_int_type(next, Traits::eof()))
        m_firstBytes += Traits::to_char_type(next);
    return next;
}

bool LogReader::TakeIf(char expected) {
    if (!Traits::eq_int_type(m_log.rdbuf()->sgetc(), Traits::to_int_type(expected)))
        return false;
    TakeByte();
    return true;
}

/// CR and NUL end a line alone or before LF. Any number of CR before LF is one end, as of a text
/// whose line ends were converted twice; without LF each CR is one.
void LogReader::TakeRestOfLineEnd(char first) {
    while (first == '\r' && TakeIf('\r'))
        ++m_emptyLines;
    if (first != '\n' && TakeIf('\n'))
        m_emptyLines = 0;
}

bool LogReader::ReadLine() {
    m_text.clear();
    m_isTruncated = false;
    if (m_log.rdbuf() == nullptr)
        return false;
    const std::size_t emptyLines = m_emptyLines;
    m_emptyLines = 0;
    bool hasRead = false;
    for (;;) {
        const Traits::int_type next = TakeByte();
        if (Traits::eq_int_type(next, Traits::eof()))
            break;
        hasRead = true;
        const char c = Traits::to_char_type(next);
        if (c == '\0' && m_text.empty())
            continue;
        if (c == '\n' || c == '\r' || c == '\0') {
            TakeRestOfLineEnd(c);
            break;
        }
        if (m_text.size() < kLongestLine)
            m_text += c;
        else
            m_isTruncated = true;
    }
    if (hasRead)
        m_number += emptyLines + 1;
    return hasRead;
}

std::vector<FoundLine> LogReader::Next(bool &isEnd) {
    std::vector<FoundLine> found;
    isEnd = !ReadLine();
    if (isEnd)
        return found;
    const std::string_view text = m_text;
    std::string_view file;
    std::size_t at = FindFile(text, 0, file);
    while (at != std::string_view::npos) {
        std::string_view nextFile;
        Parts parts;
        std::size_t next = FindFile(text, at + 1, nextFile);
        if (ParseLine(text.substr(at), file, parts)) {
            // A second line inside the first: that one has lost its end to it.
            Parts inner;
            while (next != std::string_view::npos &&
                   (!ParseLine(text.substr(next), nextFile, inner) || inner.message.empty()))
                next = FindFile(text, next + 1, nextFile);
            if (next != std::string_view::npos) {
                ParseLine(text.substr(at, next - at), file, parts);
                parts.isCut = true;
            }
            found.push_back(Found(file, parts));
            found.back().line.number = m_number;
            found.back().line.time = m_times.Read(text.substr(0, at));
            found.back().length = text.size();
            found.back().isTruncated |= m_isTruncated && next == std::string_view::npos;
        }
        at = next;
        file = nextFile;
    }
    if (found.empty() && !IsBlank(m_text))
        ++m_foreignLines;
    return found;
}

}  // namespace tool::log
