/// @file
/// The services that the tables of a stream name.
#ifndef TVDESKTOP_TS_SERVICESCAN_H
#define TVDESKTOP_TS_SERVICESCAN_H

#include <cstdint>
#include <vector>

#include "ts/PacketReader.h"
#include "TvDesktop.h"

namespace tvdesktop::ts {

/// Reads PAT, PMTs and SDT from where the reader is, until every PMT that the PAT names and an
/// SDT were seen, or the file ends.
/// @param limit  bytes of the file after which it gives up
/// @return the services whose PMT was seen, by service id
std::vector<Service> ScanTables(PacketReader &reader, std::uint64_t limit);

}  // namespace tvdesktop::ts

#endif
