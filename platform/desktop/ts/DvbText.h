/// @file
/// Text fields of DVB service information.
#ifndef TVDESKTOP_TS_DVBTEXT_H
#define TVDESKTOP_TS_DVBTEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace tvdesktop::ts {

/// Everything that a stream names passes through here before it is shown: UTF-8 goes in, what a
/// terminal would obey instead of showing (control characters, marks of direction) is left out, and
/// so are bytes that are not UTF-8. Reentrant.
std::string PlainText(const std::string &text);

/// Turns a text field into plain UTF-8. The first byte may name the character table
/// (ETSI EN 300 468, annex A); emphasis marks are dropped, line breaks become blanks. Reentrant.
/// @return empty when the text cannot be read
std::string DvbTextToUtf8(const std::uint8_t *text, std::size_t size);

}  // namespace tvdesktop::ts

#endif
