/// @file
/// The property list of a stream: which ids there are, what type each has and where it is kept.
#ifndef TVDESKTOP_PLAYER_STREAMPROPERTIES_H
#define TVDESKTOP_PLAYER_STREAMPROPERTIES_H

#include <TvDesktop.h>

#include <cstdarg>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tvdesktop {

/// What properties 801, 805 and 806 name.
struct PlaybackSource {
    std::string path;
    bool isTimeshift = false;
    int startMs = 0;  ///< milliseconds of stream time
};

struct StreamProperty {
    int id = 0;
    std::variant<int, std::string> value;
};
using StreamPropertyList = std::vector<StreamProperty>;

/// Reads (id, value) pairs up to the closing 0; the id tells the type of its value.
/// @param id      first id
/// @param values  what follows it
/// @return        nothing when an id is unknown (the type of its value, and so the rest of the
///                list, cannot be read), a text is null, or no 0 closes the list within 64 pairs
std::optional<StreamPropertyList> ReadStreamProperties(int id, std::va_list values);

/// Keeps the values in the order of the list. Thread-bound.
void ApplyStreamProperties(const StreamPropertyList &list, PlayerState &state,
                           PlaybackSource &source);

/// @return true when the list sets that id
bool Sets(const StreamPropertyList &list, int id);

}  // namespace tvdesktop

#endif
