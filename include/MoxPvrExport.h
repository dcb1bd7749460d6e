/// @file
/// Marks what the shared library shows; everything else in it is hidden.
#ifndef MOXPVR_MOXPVREXPORT_H
#define MOXPVR_MOXPVREXPORT_H

#define MOXPVR_EXPORT __attribute__((visibility("default")))

#endif
