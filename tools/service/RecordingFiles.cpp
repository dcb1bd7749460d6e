#include "service/RecordingFiles.h"

#include <TvDesktop.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "Failure.h"

namespace tool {

namespace {

constexpr std::size_t kNameWidth = 64;

bool ContinuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::string CutToField(const std::string &name) {
    std::size_t length = std::min(name.size(), kNameWidth - 1);
    while (length > 0 && length < name.size() && ContinuesCharacter(name[length]))
        --length;
    return name.substr(0, length);
}

}  // namespace

std::string SideFilePath(const std::string &recording) {
    return recording + ".chan";
}

std::string InformationPath(const std::string &recording) {
    const std::filesystem::path path(recording);
    const std::string extension = path.extension().string();
    if (extension.size() != 4)
        throw UsageError("cannot record to " + recording +
                         ": the name needs an extension of three letters, such as '.srf', for the "
                         "information file takes the same name with 'inf' in its place");
    if (extension == ".inf")
        throw UsageError("cannot record to " + recording +
                         ": the name is that of an information file; give it another extension");
    return recording.substr(0, recording.size() - 3) + "inf";
}

std::vector<std::uint8_t> EncodeInformation(const RecordingInformation &information) {
    std::vector<std::uint8_t> bytes(moxpvr::InformationFile::Size());
    moxpvr::Encode(information.fields, bytes.data());
    const std::string name = CutToField(information.serviceName);
    std::copy(name.begin(), name.end(), bytes.begin());
    return bytes;
}

void WriteInformation(const std::string &recording, const RecordingInformation &information) {
    const std::string path = InformationPath(recording);
    const std::vector<std::uint8_t> bytes = EncodeInformation(information);
    if (!tvdesktop::ReplaceFile(path, bytes.data(), bytes.size()))
        throw Failure("cannot write the information file " + path + ": " + std::strerror(errno));
}

}  // namespace tool
