#include "OutputFile.h"

#include <filesystem>

#include "Failure.h"
#include "InformationFile.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

bool IsSameFile(const std::string &left, const std::string &right) {
    std::error_code ignored;
    return fs::equivalent(left, right, ignored);
}

void CheckReplaceable(const std::string &path, const std::string &input, bool force) {
    std::error_code ignored;
    if (IsSameFile(path, input))
        throw Failure("'" + path + "' is the input itself.");
    if (!force && fs::exists(path, ignored))
        throw Failure("'" + path + "' exists already; --force replaces it.");
}

}  // namespace

bool IsDevice(const std::string &path) {
    std::error_code ignored;
    return fs::is_other(path, ignored);
}

void CheckOutput(const std::string &path, const std::string &input, bool force) {
    std::error_code ignored;
    if (IsDevice(path))
        return;
    if (fs::is_directory(path, ignored))
        throw WrongUse("'" + path + "' is a directory.");
    const std::string information = InformationPath(path);
    const fs::path directory = fs::absolute(path, ignored).parent_path();
    if (!fs::is_directory(directory, ignored))
        throw Failure("The directory '" + directory.string() + "' does not exist.");
    CheckReplaceable(path, input, force);
    CheckReplaceable(information, input, force);
}

}  // namespace tool
