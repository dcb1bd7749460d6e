#include "ts/ChannelLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <optional>
#include <sstream>

#include "system/FileDescriptor.h"
#include "system/Files.h"
#include "TvDesktop.h"

namespace tvdesktop::ts {

namespace {

constexpr char kVersionLine[] = "channel-log 1";
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

/// The lines of a file that end with a newline. One that is longer than a block, many times the
/// longest stretch, ends the file: whatever it is, it is not a side file. Threads: thread-bound.
class LineReader {
  public:
    explicit LineReader(const FileDescriptor &file) : m_file(file) {}

    /// @return nothing at the end, or when the file cannot be read
    std::optional<std::string> Next() {
        do {
            const auto begin = m_block.begin() + m_next;
            const auto end = m_block.begin() + m_filled;
            const auto newline = std::find(begin, end, '\n');
            if (newline != end) {
                m_next = newline + 1 - m_block.begin();
                return std::string(begin, newline);
            }
        } while (ReadMore());
        return std::nullopt;
    }

    /// @return the errno of a read that failed; 0: none did
    int Error() const { return m_error; }

  private:
    bool ReadMore() {
        std::copy(m_block.begin() + m_next, m_block.begin() + m_filled, m_block.begin());
        m_filled -= m_next;
        m_next = 0;
        const std::size_t room = m_block.size() - static_cast<std::size_t>(m_filled);
        ssize_t count = 0;
        do {
            count = ::read(m_file.Get(), m_block.data() + m_filled, room);
        } while (count < 0 && errno == EINTR);
        m_error = count < 0 ? errno : 0;
        m_filled += count > 0 ? count : 0;
        return count > 0;
    }

    const FileDescriptor &m_file;
    std::array<char, 16384> m_block{};
    std::ptrdiff_t m_next = 0;
    std::ptrdiff_t m_filled = 0;
    int m_error = 0;
};

bool EndsInsideLine(int file, off_t size) {
    char last = '\n';
    return size > 0 && ::pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

std::string ToText(const std::vector<ChannelStretch> &stretches) {
    std::string text = std::string(kVersionLine) + '\n';
    for (const ChannelStretch &stretch : stretches)
        text += ToLine(stretch);
    return text;
}

}  // namespace

std::string ChannelLogPath(const std::string &recording) {
    return recording + ".chan";
}

bool ReadChannelLog(const std::string &recording, std::vector<ChannelStretch> &stretches) {
    stretches.clear();
    const FileDescriptor file = OpenRegularFile(ChannelLogPath(recording));
    if (!file.IsOpen())
        return errno == ENOENT;
    LineReader lines(file);
    if (lines.Next() != kVersionLine)
        return lines.Error() == 0;
    while (const auto line = lines.Next()) {
        ChannelStretch stretch;
        if (FromLine(*line, stretch))
            Append(stretches, stretch);
    }
    errno = lines.Error();
    return lines.Error() == 0;
}

std::vector<ChannelStretch> ReadChannelLog(const std::string &recording) {
    std::vector<ChannelStretch> stretches;
    ReadChannelLog(recording, stretches);
    return stretches;
}

bool AppendChannelLog(const std::string &recording, const ChannelStretch &stretch) {
    const std::string path = ChannelLogPath(recording);
    FileDescriptor file = CreateFile(path);
    if (!file.IsOpen() && errno == EEXIST)
        file = OpenRegularFile(path, O_RDWR | O_APPEND | O_NOFOLLOW);
    if (!file.IsOpen())
        return false;
    const off_t size = ::lseek(file.Get(), 0, SEEK_END);
    std::string text = ToLine(stretch);
    if (size == 0)
        text = std::string(kVersionLine) + '\n' + text;
    else if (EndsInsideLine(file.Get(), size))
        text = '\n' + text;
    return WriteAll(file.Get(), text.data(), text.size());
}

bool CreateChannelLog(const std::string &recording, const std::vector<ChannelStretch> &stretches) {
    return CreateFileWith(ChannelLogPath(recording), ToText(stretches));
}

bool WriteChannelLog(const std::string &recording, const std::vector<ChannelStretch> &stretches) {
    const std::string text = ToText(stretches);
    return ReplaceFile(ChannelLogPath(recording), text.data(), text.size());
}

}  // namespace tvdesktop::ts
