/// @file
/// A log over time: markers for what happened and lanes for what lasted, as SVG.
#ifndef TOOLS_LOG_PAGELANES_H
#define TOOLS_LOG_PAGELANES_H

#include <string>

#include "log/PageAxis.h"
#include "log/PageStory.h"
#include "log/Session.h"

namespace tool::log {

/// The picture of a log in two parts of the same height: the names of its rows, and the rows.
struct Picture {
    std::string names;
    std::string rows;
    std::string absent;  ///< lanes that the log says nothing about: "rate, channel", or empty
};

/// Everything along the axis is placed in percent, so that the picture fits any width and is
/// stretched without its texts.
Picture LanesOf(const Session &session, const PageAxis &axis, const PageStory &story);

}  // namespace tool::log

#endif
