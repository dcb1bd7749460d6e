#include "ts/ChannelLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <sstream>
#include <string_view>

#include "system/FileDescriptor.h"
#include "system/Files.h"
#include "TvDesktop.h"

namespace tvdesktop::ts {

namespace {

constexpr char kVersionLine[] = "channel-log 1";
constexpr std::size_t kBlockSize = 1 << 16;
constexpr std::string_view kPointWord = "pcr";
constexpr char kHexDigits[] = "0123456789abcdef";

std::string ToHex(const TvChannelInfo &info) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(&info);
    std::string text;
    for (std::size_t i = 0; i < sizeof info; ++i) {
        text += kHexDigits[bytes[i] >> 4];
        text += kHexDigits[bytes[i] & 0x0F];
    }
    return text;
}

bool FromHex(const std::string &text, TvChannelInfo &info) {
    if (text.size() != 2 * sizeof info)
        return false;
    unsigned char bytes[sizeof info];
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char *digit = std::strchr(kHexDigits, text[i]);
        if (digit == nullptr || *digit == '\0')
            return false;
        const auto value = static_cast<unsigned char>(digit - kHexDigits);
        bytes[i / 2] = static_cast<unsigned char>(i % 2 == 0 ? value << 4 : bytes[i / 2] | value);
    }
    std::memcpy(&info, bytes, sizeof info);
    return true;
}

std::string ToLine(const ChannelStretch &stretch) {
    return std::to_string(stretch.timeMs) + ' ' + std::to_string(stretch.offset) + ' ' +
           ToHex(stretch.info) + '\n';
}

bool FromLine(const std::string &line, ChannelStretch &stretch) {
    std::istringstream fields(line);
    std::string hex;
    std::string rest;
    return fields >> stretch.timeMs >> stretch.offset >> hex && !(fields >> rest) &&
           stretch.timeMs >= 0 && FromHex(hex, stretch.info);
}

std::string ToLine(const TimePoint &point) {
    return std::string(kPointWord) + ' ' + std::to_string(point.offset) + ' ' +
           std::to_string(point.pid) + ' ' + std::to_string(point.pcr) + '\n';
}

template <typename Entry>
std::string ToLines(const std::vector<Entry> &entries) {
    std::string text;
    for (const Entry &entry : entries)
        text += ToLine(entry);
    return text;
}

/// Takes a space and a number from the front of a text.
template <typename Number>
bool TakeNumber(std::string_view &text, Number &number) {
    if (text.empty() || text.front() != ' ')
        return false;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + 1, end, number);
    text = std::string_view(result.ptr, static_cast<std::size_t>(end - result.ptr));
    return result.ec == std::errc();
}

bool FromLine(std::string_view line, TimePoint &point) {
    if (line.substr(0, kPointWord.size()) != kPointWord)
        return false;
    line.remove_prefix(kPointWord.size());
    return TakeNumber(line, point.offset) && TakeNumber(line, point.pid) &&
           TakeNumber(line, point.pcr) && line.empty() && point.pcr >= 0;
}

/// Takes a stretch that follows the others; one that begins where the last one does takes its
/// place, since nothing of the recording belongs to that one.
void Append(std::vector<ChannelStretch> &stretches, const ChannelStretch &stretch) {
    if (!stretches.empty()) {
        const ChannelStretch &last = stretches.back();
        if (stretch.timeMs < last.timeMs || stretch.offset < last.offset)
            return;
        if (stretch.offset == last.offset)
            stretches.pop_back();
    }
    stretches.push_back(stretch);
}

void Append(std::vector<TimePoint> &index, const TimePoint &point) {
    if (index.empty() || point.offset > index.back().offset)
        index.push_back(point);
}

bool EndsInsideLine(int file, off_t size) {
    char last = '\n';
    return size > 0 && ::pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

std::string ToText(const ChannelLog &log) {
    return std::string(kVersionLine) + '\n' + ToLines(log.stretches) + ToLines(log.index);
}

}  // namespace

std::string ChannelLogPath(const std::string &recording) {
    return recording + ".chan";
}

bool ChannelLogReader::Follow(const std::string &recording, ChannelLog &log) {
    if (!m_file.IsOpen()) {
        m_file = OpenRegularFile(ChannelLogPath(recording));
        if (!m_file.IsOpen())
            return errno == ENOENT;
    }
    while (m_version != Version::Other) {
        const auto line = NextLine();
        if (!line)
            break;
        ChannelStretch stretch;
        TimePoint point;
        if (m_version == Version::Unknown)
            m_version = *line == kVersionLine ? Version::Ours : Version::Other;
        else if (FromLine(*line, point))
            Append(log.index, point);
        else if (FromLine(*line, stretch))
            Append(log.stretches, stretch);
    }
    errno = m_error;
    return m_error == 0;
}

/// A line that is longer than a block, many times the longest stretch, ends the file: whatever it
/// is, it is not a side file.
/// @return a line that ends with a newline; nothing when there is none for now, or the file cannot
///         be read
std::optional<std::string> ChannelLogReader::NextLine() {
    std::size_t searched = 0;  // after m_next
    do {
        const char *begin = m_block.data() + m_next;
        const char *end = m_block.data() + m_filled;
        const char *newline = std::find(begin + searched, end, '\n');
        if (newline != end) {
            m_next = static_cast<std::size_t>(newline + 1 - m_block.data());
            return std::string(begin, newline);
        }
        searched = m_filled - m_next;
    } while (ReadMore());
    return std::nullopt;
}

/// Drops the lines that were taken and fills the block up.
bool ChannelLogReader::ReadMore() {
    m_block.resize(kBlockSize);
    std::copy(m_block.data() + m_next, m_block.data() + m_filled, m_block.data());
    m_filled -= m_next;
    m_next = 0;
    ssize_t count = 0;
    do {
        count = ::read(m_file.Get(), m_block.data() + m_filled, m_block.size() - m_filled);
    } while (count < 0 && errno == EINTR);
    m_error = count < 0 ? errno : 0;
    m_filled += count > 0 ? static_cast<std::size_t>(count) : 0;
    return count > 0;
}

bool ReadChannelLog(const std::string &recording, ChannelLog &log) {
    log = {};
    return ChannelLogReader().Follow(recording, log);
}

std::vector<ChannelStretch> ReadChannelLog(const std::string &recording) {
    ChannelLog log;
    ReadChannelLog(recording, log);
    return log.stretches;
}

bool ChannelLogWriter::Open(const std::string &recording) {
    const std::string path = ChannelLogPath(recording);
    m_file = CreateFile(path);
    if (!m_file.IsOpen() && errno == EEXIST)
        m_file = OpenRegularFile(path, O_RDWR | O_NOFOLLOW);
    return m_file.IsOpen();
}

bool ChannelLogWriter::Append(const ChannelStretch &stretch) {
    return AppendText(ToLine(stretch));
}

bool ChannelLogWriter::Append(const std::vector<TimePoint> &index) {
    return AppendText(ToLines(index));
}

bool ChannelLogWriter::AppendText(std::string text) {
    const off_t size = ::lseek(m_file.Get(), 0, SEEK_END);
    if (size < 0)
        return false;
    if (size == 0)
        text = std::string(kVersionLine) + '\n' + text;
    else if (EndsInsideLine(m_file.Get(), size))
        text = '\n' + text;
    return WriteAll(m_file.Get(), text.data(), text.size());
}

bool CreateChannelLog(const std::string &recording, const ChannelLog &log) {
    return CreateFileWith(ChannelLogPath(recording), ToText(log));
}

bool WriteChannelLog(const std::string &recording, const ChannelLog &log) {
    const std::string text = ToText(log);
    return ReplaceFile(ChannelLogPath(recording), text.data(), text.size());
}

}  // namespace tvdesktop::ts
