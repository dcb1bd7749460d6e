/// @file
/// Whether a log has lines of one recorder and one playback at a time, or of more.
#ifndef TOOLS_LOG_INSTANCES_H
#define TOOLS_LOG_INSTANCES_H

#include <set>
#include <string>

#include "log/Messages.h"
#include "log/Session.h"

namespace tool::log {

/// Looks for lines of several instances between each other. A line does not name its instance; what
/// gives several away is a lookup of another recorder without a registration before it, and an
/// event with another handle than the last that was set.
///
/// Threads: thread-bound.
class Instances {
  public:
    void Note(const Line &line, const Match &match, Side side);
    bool AreMixed(Side side) const { return Of(side).areMixed; }

  private:
    struct OfSide {
        std::string handle;  ///< that was set last; empty if unknown
        bool areMixed = false;
    };

    OfSide &Of(Side side) { return side == Side::Recorder ? m_recorder : m_playback; }
    const OfSide &Of(Side side) const { return side == Side::Recorder ? m_recorder : m_playback; }

    OfSide m_recorder;
    OfSide m_playback;
    std::set<std::string> m_lookedUp;  ///< recorders since the last registration
};

}  // namespace tool::log

#endif
