/// @file
/// The steps of a story, carried out for real.
#ifndef DOCS_STORIES_STEP_H
#define DOCS_STORIES_STEP_H

#include <string>

/// What was done and what came back, as far as the journal of the platform does not show it.
struct Step {
    std::string code;     ///< in C++; empty for what the platform does by itself
    std::string what;     ///< sentence on what is done
    std::string request;  ///< text of a control request; empty for other steps
    std::string fields;   ///< table of its record
    std::string answer;   ///< sentence
    std::string reply;    ///< table of the reply's record
};

/// Carries out a line of a script:
///
///     recorder.SetHandle handle=3            a control request, through the entry point
///     player TYPE timeCode=60000             a callback of the player, handed on by the service
///     platform TYPE app_type=2 app_param=0   a callback of the platform recorder
///     platform TYPE code=4                   one with an error
///     mox_pvr_set_recorder_handle(tvRecorder)      one of the calls in Step.cpp
///
/// @throw std::exception  for a line that is none of them
Step Perform(const std::string &line);

/// Carries out a line on the platform: what it has recorded, and what it answers from here on.
///
///     channel FROM videoPid=0x100 ...   channel information, in the words of
///     SetChannelInfoProperty position POSITION DURATION        of recorder and player
///     timeshift-duration DURATION
///
/// @return the same as a sentence
/// @throw std::exception  for a line that is none of them
std::string SetPlatform(const std::string &line);

#endif
