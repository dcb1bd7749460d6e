#include "MoxPvrPlayback/InformationFile.h"

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

std::size_t InformationFile::ReadFrom(std::FILE *file) {
    if (std::fseek(file, 0, SEEK_SET) != 0)
        return 0;
    return std::fread(m_bytes, 1, kSize, file);
}

}  // namespace mox
