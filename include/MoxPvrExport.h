/// @file
/// Marks what the shared library shows; everything else in it is hidden.
#ifndef MOXPVR_MOXPVREXPORT_H
#define MOXPVR_MOXPVREXPORT_H

/// Before a class, function or variable that users of the library may link to.
#define MOXPVR_EXPORT __attribute__((visibility("default")))

#endif
