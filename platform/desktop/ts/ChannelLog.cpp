#include "ChannelLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
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

/// Opens a side file that exists, but nothing else that has its name.
FileDescriptor OpenToAppend(const std::string &path) {
    FileDescriptor file(
        ::open(path.c_str(), O_RDWR | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (file.IsOpen() && ::fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode))
        return file;
    if (file.IsOpen())
        errno = EINVAL;
    return {};
}

}  // namespace

std::string ChannelLogPath(const std::string &recording) {
    return recording + ".chan";
}

std::vector<ChannelStretch> ReadChannelLog(const std::string &recording) {
    std::vector<ChannelStretch> stretches;
    std::ifstream file(ChannelLogPath(recording));
    std::string line;
    if (!std::getline(file, line) || line != kVersionLine)
        return stretches;
    while (std::getline(file, line) && !file.eof()) {
        ChannelStretch stretch;
        if (FromLine(line, stretch))
            Append(stretches, stretch);
    }
    return stretches;
}

bool AppendChannelLog(const std::string &recording, const ChannelStretch &stretch) {
    const std::string path = ChannelLogPath(recording);
    FileDescriptor file = CreateFile(path);
    if (!file.IsOpen() && errno == EEXIST)
        file = OpenToAppend(path);
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
