#include "MoxPvrPlayback/InformationFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

namespace mox {

namespace {
constexpr char kExtension[] = "inf";
constexpr std::size_t kExtensionLength = 3;
}  // namespace

bool InformationFilePath::Derive(const char *recording) {
    std::snprintf(m_text, sizeof m_text, "%s", recording);
    const std::size_t length = std::strlen(m_text);
    if (length < kExtensionLength)
        return false;
    std::memcpy(m_text + length - kExtensionLength, kExtension, kExtensionLength);
    return true;
}

RegularFile OpenRegularFile(const char *path) {
    RegularFile none(nullptr, std::fclose);
    const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return none;
    struct stat status {};
    const bool isRegular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    std::FILE *file = isRegular ? fdopen(descriptor, "r") : nullptr;
    if (file == nullptr) {
        close(descriptor);
        return none;
    }
    return {file, std::fclose};
}

std::size_t ReadInformation(std::FILE *file, moxpvr::InformationFile &information) {
    unsigned char bytes[moxpvr::InformationFile::Size()];
    const std::size_t count = std::fread(bytes, 1, sizeof bytes, file);
    if (count > 0)
        moxpvr::Decode(bytes, count, information);
    return count;
}

}  // namespace mox
