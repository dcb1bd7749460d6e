#include "verbs/CompanionFile.h"

#include <filesystem>

namespace tool {

namespace {

/// @return the path of a file whose place is known from the folder of the running program
std::string SeenFromProgram(const std::string &path) {
    std::error_code unknown;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return (program.parent_path() / path).lexically_normal().string();
}

}  // namespace

std::string SampleStream() {
    return SeenFromProgram(MOXPVR_DATA_FROM_PROGRAM "/services.ts");
}

std::string DoctorProgram() {
    return SeenFromProgram("mox-pvr-doctor");
}

}  // namespace tool
