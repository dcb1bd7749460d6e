#include "verbs/Demo.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "Failure.h"
#include "service/Input.h"
#include "verbs/DemoStory.h"

namespace tool {

namespace {

namespace fs = std::filesystem;
using tvdesktop::StreamKind;

bool IsTelevision(const tvdesktop::Service &service) {
    return service.First(StreamKind::Video) != nullptr &&
           service.First(StreamKind::Audio) != nullptr;
}

bool IsRadio(const tvdesktop::Service &service) {
    return service.First(StreamKind::Video) == nullptr &&
           service.First(StreamKind::Audio) != nullptr;
}

/// The first television service with audio description, else the first of all, the one after it,
/// and a radio service.
DemoCast ChooseCast(const std::vector<tvdesktop::Service> &services) {
    DemoCast cast;
    for (const tvdesktop::Service &service : services)
        if (IsTelevision(service) &&
            (!cast.first || (cast.first->First(StreamKind::AudioDescription) == nullptr &&
                             service.First(StreamKind::AudioDescription) != nullptr)))
            cast.first = service;
    if (!cast.first)
        throw Failure(
            "cannot run the demo: the input has no television service; name another with --input");
    for (const tvdesktop::Service &service : services) {
        if (!cast.second && IsTelevision(service) && service.id != cast.first->id)
            cast.second = service;
        if (!cast.radio && IsRadio(service))
            cast.radio = service;
    }
    return cast;
}

/// The directory for the recordings: the user's, or one that goes when the demo has ended.
class DemoDirectory {
  public:
    explicit DemoDirectory(const std::string &wanted) : m_isTemporary(wanted.empty()) {
        if (!m_isTemporary) {
            std::error_code error;
            fs::create_directories(wanted, error);
            const bool isEmpty = !error && fs::is_empty(wanted, error);
            if (error)
                throw Failure("cannot use the directory " + wanted + ": " + error.message());
            if (!isEmpty)
                throw Failure("cannot use the directory " + wanted +
                              ": it is not empty, and the demo replaces nothing; name another");
            m_path = wanted;
            return;
        }
        std::string pattern = (fs::temp_directory_path() / "mox-pvr-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw Failure("cannot make the directory " + pattern + ": " + std::strerror(errno));
        m_path = pattern;
    }
    ~DemoDirectory() {
        std::error_code ignored;
        if (m_isTemporary)
            fs::remove_all(m_path, ignored);
    }
    DemoDirectory(const DemoDirectory &) = delete;
    DemoDirectory &operator=(const DemoDirectory &) = delete;

    const std::string &Path() const { return m_path; }

  private:
    bool m_isTemporary;
    std::string m_path;
};

}  // namespace

void RunDemo(const DemoOptions &options, const Console &console) {
    CatchStopSignals();
    const DemoCast cast = ChooseCast(ServicesOf(options.input));
    const DemoDirectory directory(options.directory);
    DemoStory story(options.input, directory.Path(), cast, console);
    story.Tell();
    console.terminal.Line("");
    story.Report().Print(console.terminal);
    if (!options.directory.empty())
        console.terminal.Line("the recordings are in " + options.directory);
    const std::size_t differences = story.Report().Differences();
    if (differences > 0)
        throw Failure(std::to_string(differences) +
                      " of the demo's expectations were not met; the table shows which");
}

}  // namespace tool
