/// @file
/// The demo, chapter by chapter.
#ifndef TOOLS_VERBS_DEMOSTORY_H
#define TOOLS_VERBS_DEMOSTORY_H

#include <TvDesktop.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "service/Events.h"
#include "service/PlaybackControl.h"
#include "service/PvrService.h"
#include "service/RecordingControl.h"
#include "verbs/Console.h"
#include "verbs/DemoReport.h"

namespace tool {

/// The services that appear.
struct DemoCast {
    std::optional<tvdesktop::Service> first;   ///< television, always there
    std::optional<tvdesktop::Service> second;  ///< another television service
    std::optional<tvdesktop::Service> radio;
};

/// What is expected comes from the scanned services and from the protocol alone, never from the
/// run that is judged.
class DemoStory {
  public:
    DemoStory(std::string input, std::string directory, DemoCast cast, const Console &console);

    /// @throws Failure when the story cannot go on
    void Tell();
    const DemoReport &report() const { return m_report; }

  private:
    using Events = std::vector<tvdesktop::Event>;
    using Ending = std::function<bool(const Events &)>;

    void RecordTwoServices();
    void PlayAndTrick(Playing &playing);
    void DescribeForTheBlind(Playing &playing);
    void CrossAndRewind(Playing &playing);
    void PlayOverCrossingToEnd(Playing &playing);
    void ShiftTime();
    void HearRadio();

    void Chapter(const std::string &title);
    void Narrate(const Request &request, const Reply &reply);
    /// Shows events and keeps them for ExpectEvent.
    void Show(const Events &events);
    void RecordUntil(Recording &recording, std::int64_t positionMs);
    /// Plays on until it is over or patience ends.
    /// @return whether it is over
    bool Watch(Playing &playing, const Ending &isOver);
    bool WatchUntil(Playing &playing, std::int64_t positionMs);
    bool WatchFor(Playing &playing, EventDetail detail);
    /// Waits for an unmute while the decoders are set to a service.
    bool WatchForUnmute(Playing &playing, const tvdesktop::Service &broadcast);

    void ExpectStart(const std::string &what, int recordType, const tvdesktop::Service &broadcast);
    void ExpectPids(const std::string &path, const std::vector<tvdesktop::Service> &recorded);
    void ExpectSourcePackets(const std::string &path);
    void ExpectProgrammed(const std::string &what, Playing &playing,
                          const tvdesktop::Service &broadcast);
    std::string PathOf(const char *name) const { return m_directory + "/" + name; }

    const std::string m_input;
    const std::string m_directory;
    const DemoCast m_cast;
    const Console m_console;
    DemoReport m_report;
    PvrService m_service;
    Events m_events;  ///< since the last request that starts something
    std::int64_t m_crossingMs = 0;
};

}  // namespace tool

#endif
