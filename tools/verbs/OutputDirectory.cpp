#include "verbs/OutputDirectory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "Failure.h"

namespace tool {

namespace fs = std::filesystem;

OutputDirectory::OutputDirectory(const std::string &wanted, const std::string &what)
    : m_isTemporary(wanted.empty()) {
    if (!m_isTemporary) {
        std::error_code error;
        fs::create_directories(wanted, error);
        const bool isEmpty = !error && fs::is_empty(wanted, error);
        if (error)
            throw Failure("cannot use the directory " + wanted + ": " + error.message());
        if (!isEmpty)
            throw Failure("cannot use the directory " + wanted + ": it is not empty, and " + what +
                          " replaces nothing; name another");
        m_path = wanted;
        return;
    }
    std::string pattern = (fs::temp_directory_path() / "mox-pvr-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw Failure("cannot make the directory " + pattern + ": " + std::strerror(errno));
    m_path = pattern;
}

OutputDirectory::~OutputDirectory() {
    std::error_code ignored;
    if (m_isTemporary)
        fs::remove_all(m_path, ignored);
}

}  // namespace tool
