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
    std::optional<tvdesktop::Service> first;   ///< television, always set
    std::optional<tvdesktop::Service> second;  ///< another television service
    std::optional<tvdesktop::Service> radio;
};

/// What is expected comes from the scanned services and from the protocol alone, never from the
/// run that is judged.
class DemoStory {
  public:
    DemoStory(std::string input, std::string directory, DemoCast cast, const Console &console);

    /// @throws Failure when the story cannot continue
    void Tell();
    const DemoReport &Report() const { return m_report; }

  private:
    using Events = std::vector<tvdesktop::Event>;
    using Ending = std::function<bool(const Events &)>;

    void RecordTwoServices();
    void PlayAndTrick(PlaybackControl &playing);
    void DescribeForTheBlind(PlaybackControl &playing);
    void CrossAndRewind(PlaybackControl &playing);
    void PlayOverCrossingToEnd(PlaybackControl &playing);
    void ShiftTime();
    void HearRadio();

    void Chapter(const std::string &title);
    void Narrate(const Request &request, const Reply &reply);
    /// Shows events and keeps them for ExpectStart.
    void Show(const Events &events);
    void RecordUntil(RecordingControl &recording, std::int64_t positionMs);
    /// Plays until it has ended or patience ends.
    /// @return whether it has ended
    bool Watch(PlaybackControl &playing, const Ending &hasEnded);
    bool WatchUntil(PlaybackControl &playing, std::int64_t positionMs);
    bool WatchFor(PlaybackControl &playing, EventDetail detail);
    /// Waits for an unmute while the decoders are set to a service.
    bool WatchForUnmute(PlaybackControl &playing, const tvdesktop::Service &service);

    void ExpectStart(const std::string &what, moxpvr::RecordType recordType,
                     const tvdesktop::Service &service);
    void ExpectPids(const std::string &path, const std::vector<tvdesktop::Service> &recorded);
    void ExpectSourcePackets(const std::string &path);
    /// Plays a recording from its beginning.
    /// @return whether it unmuted with the decoders set to its service
    bool ExpectPlaying(const std::string &what, PlaybackControl &playing, const Source &source,
                       const tvdesktop::Service &service);
    void ExpectProgrammed(const std::string &what, PlaybackControl &playing,
                          const tvdesktop::Service &service);
    std::string PathOf(const char *name) const { return m_directory + "/" + name; }

    const std::string m_input;
    const std::string m_directory;
    const DemoCast m_cast;
    const Console m_console;
    DemoReport m_report;
    PvrService m_pvr;
    Events m_events;  ///< since the last request that starts something
    std::int64_t m_crossingMs = 0;
};

}  // namespace tool

#endif
