#include "verbs/Demo.h"

#include "Failure.h"
#include "service/Input.h"
#include "verbs/DemoStory.h"
#include "verbs/OutputDirectory.h"

namespace tool {

namespace {

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

}  // namespace

void RunDemo(const DemoOptions &options, const Console &console) {
    CatchStopSignals();
    const DemoCast cast = ChooseCast(ServicesOf(options.input));
    const OutputDirectory directory(options.directory, "the demo");
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
