/// @file
/// The elementary stream that an entry of a PMT describes.
#ifndef TVDESKTOP_TS_STREAMKIND_H
#define TVDESKTOP_TS_STREAMKIND_H

#include "TvDesktop.h"

struct dvbpsi_pmt_es_s;

namespace tvdesktop::ts {

/// Reads kind, codec and language of an elementary stream from its stream_type and descriptors.
/// Reentrant.
ElementaryStream StreamFromPmt(const dvbpsi_pmt_es_s &entry);

}  // namespace tvdesktop::ts

#endif
