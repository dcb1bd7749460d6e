// The information file beside a recording: any bytes, any length, any length of path.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <vector>

#include "MoxPvrPlayback/MoxPvrPlayback.h"
#include "MoxPvrProtocol.h"
#include "ScratchFiles.h"
#include "ScriptedPlatform.h"

namespace {

constexpr std::size_t kReadOfFile = 10645;
constexpr std::size_t kTextField = 256;
constexpr std::size_t kLongestPath = 300;

/// A little-endian field of the file as an independent reading gives it.
unsigned int Field(const std::vector<std::uint8_t> &file, std::size_t offset, std::size_t width) {
    unsigned int value = 0;
    for (std::size_t i = 0; i < width && offset + i < file.size(); ++i)
        value |= static_cast<unsigned int>(file[offset + i]) << (8 * i);
    return value;
}

/// The recording's path, made longer with further separators or cut off.
std::string PathOfLength(const std::string &directory, const std::string &name,
                         std::size_t length) {
    const std::size_t shortest = directory.size() + 1 + name.size();
    if (length <= shortest)
        return (directory + '/' + name).substr(0, length);
    return directory + std::string(1 + length - shortest, '/') + name;
}

/// Opens a path that fills its field without a NUL when it is longer.
moxpvr::RequestText OpenRequest(const std::string &path) {
    moxpvr::playback::SetProperty open;
    path.copy(open.path.text, kTextField);
    return moxpvr::RequestText(open);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const ScratchFiles scratch;
    FuzzedDataProvider input(data, size);
    const std::size_t pathLength = input.ConsumeIntegralInRange<std::size_t>(0, kLongestPath);
    const std::size_t fileLength = input.ConsumeIntegralInRange<std::size_t>(0, kReadOfFile + 100);
    const auto filler = input.ConsumeIntegral<std::uint8_t>();
    std::vector<std::uint8_t> file = input.ConsumeRemainingBytes<std::uint8_t>();
    file.resize(fileLength, filler);
    scratch.Write("r.inf", file.data(), file.size());
    const std::string path = PathOfLength(scratch.directory(), "r.srf", pathLength);
    const bool isWhole = pathLength > scratch.directory().size() + 5 && pathLength < kTextField;
    const unsigned int expected = isWhole && fileLength > 0 ? 0 : 1;

    CMOXPVRPlayback playback;
    playback.Initilize(MOXHandle{}, kPlayer, kStream);
    constexpr unsigned int kUntouched = 0xFEEDBEEF;
    unsigned int pids[3] = {kUntouched, kUntouched, kUntouched};
    Require(playback.GetPidPropertyByUri(path, pids[0], pids[1], pids[2]) == expected,
            "an information file is found beside a recording whose path is whole");
    for (std::size_t i = 0; i < 3; ++i) {
        constexpr std::size_t kOffsets[] = {798, 806, 802};
        Require(pids[i] == (expected == 0 ? Field(file, kOffsets[i], 4) : kUntouched),
                "PIDs are those of the file, or untouched");
    }

    moxpvr::RequestText request = OpenRequest(path);
    unsigned int replySize = 0;
    playback.CtrlPlayback(request.size(), request.data(), replySize, nullptr);
    constexpr auto kNoType = static_cast<IMOXPVRPlayback::eRecordedFileType>(7);
    auto type = kNoType;
    Require(playback.GetFileType(type) == expected, "both readers answer the same");
    const unsigned int channelType = Field(file, 824, 2);
    const bool isAnalogue = channelType == 1 || channelType == 3;
    Require(type == (expected != 0 ? kNoType
                     : isAnalogue  ? IMOXPVRPlayback::E_RECORDED_FILE_TYPE_ATV
                                   : IMOXPVRPlayback::E_RECORDED_FILE_TYPE_DTV),
            "the file type is that of the file, or untouched");
    return 0;
}
