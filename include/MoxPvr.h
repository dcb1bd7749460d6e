/// @file
/// Entry points of the library, its exported variables and the request codec.
///
/// A service registers its platform objects once, then sends control requests:
///
/// @code
/// mox_pvr_set_recorder_handle(recorder);                    // instance (301, 0)
/// moxpvr::RequestText request(moxpvr::recorder::Start{});   // of MoxPvrProtocol.h
/// unsigned char reply[64];
/// unsigned int replySize = 0;
/// unsigned int result =
///     mox_pvr_control_recording(request.size(), request.data(), replySize, reply);
/// @endcode
///
/// All functions have C++ linkage in the global namespace, so that a service can resolve them by
/// their mangled names. None throws.
///
/// Threads: thread-bound. Each request looks its instance up, so no two calls of the entry points
/// or the facade run at the same time, and none on a callback thread. The codec functions and
/// mox_pvr_version are reentrant.
#ifndef MOXPVR_MOXPVR_H
#define MOXPVR_MOXPVR_H

#include "IMOXPVRPlayback.h"
#include "IMOXPVRRecorder.h"
#include "MoxPvrExport.h"
#include "MoxPvrVersion.h"

/// Player last given to mox_pvr_set_tv_player, the caller's; null before.
extern MOXPVR_EXPORT void *g_temp_tv_player;
/// Instance that the last playback request found under (1, 0), or null. Not cleared when that
/// instance is destroyed: read it after a request only.
extern MOXPVR_EXPORT IMOXPVRPlayback *g_temp_playback;
/// Instance that the last recording request found under (301, 0), or null; likewise.
extern MOXPVR_EXPORT IMOXPVRRecorder *g_temp_recorder;

/// The version of the loaded library, to compare with MOXPVR_VERSION, that of the headers. Allowed
/// on any thread at any time, also before everything else.
/// @return such as "0.1.0"; static text, never freed
MOXPVR_EXPORT const char *mox_pvr_version();

/// Remembers the TV player for mox_pvr_set_tv_stream.
/// @param player  of tv_player.h; stays the caller's
/// @return        0
MOXPVR_EXPORT unsigned int mox_pvr_set_tv_player(void *player);

/// Registers a playback instance under (1, 0) for the remembered player and this stream.
/// @param stream  of tv_stream.h; stays the caller's
/// @return        0 registered; 1 not (no player, no stream, or out of memory)
MOXPVR_EXPORT unsigned int mox_pvr_set_tv_stream(void *stream);

/// Registers a recorder instance under (301, 0), tuner index 0.
/// @param recorder  of tv_recorder.h; stays the caller's
/// @return          0 registered; 1 not (no recorder, or out of memory)
MOXPVR_EXPORT unsigned int mox_pvr_set_recorder_handle(void *recorder);

/// Sends a control request to the playback under (1, 0); see IMOXPVRPlayback::CtrlPlayback.
/// @param inSize   characters of request text
/// @param inData   request text
/// @param outSize  out: characters of reply text
/// @param outData  reply buffer
/// @return         its result, or 9999 when no instance is registered
MOXPVR_EXPORT unsigned int mox_pvr_control_playback(unsigned int inSize, unsigned char *inData,
                                                    unsigned int &outSize, unsigned char *outData);

/// Applies PIDs to the playback under (1, 0); see IMOXPVRPlayback::SetPidProperty.
/// @param unused    ignored
/// @param videoPid  as there; so are the next two
/// @param audioPid  main audio
/// @param pcrPid    clock references
/// @return          its result, or 9999 when no instance is registered
MOXPVR_EXPORT unsigned int mox_pvr_set_playback_pid_property(void *unused, unsigned int videoPid,
                                                             unsigned int audioPid,
                                                             unsigned int pcrPid);

/// Sends a control request to the recorder under (301, 0); see IMOXPVRRecorder::CtrlRecorder.
/// @param inSize   characters of request text
/// @param inData   request text
/// @param outSize  out: characters of reply text
/// @param outData  reply buffer
/// @return         its result, or 9999 when no instance is registered
MOXPVR_EXPORT unsigned int mox_pvr_control_recording(unsigned int inSize, unsigned char *inData,
                                                     unsigned int &outSize, unsigned char *outData);

/// Decodes hexadecimal text, two characters per byte, most significant digit first. A character
/// that is not a digit counts as 0.
/// @param text           `length` characters; need not be NUL-terminated
/// @param length         even, 2 at least
/// @param dest           at least `length` / 2 bytes
/// @param decodedLength  out: bytes written to `dest`
/// @return 0; -1 for a null argument, a length below 1 or an odd one
MOXPVR_EXPORT int parse_string_to_buf(char *text, int length, void *dest, int *decodedLength);

/// Encodes bytes as lower-case hexadecimal text with a terminating NUL.
/// @param src         `count` bytes
/// @param count       1 to 2147483647
/// @param dest        at least 2 * count + 1 bytes
/// @param textLength  out: characters written, the NUL not counted
/// @return 0; 1 for a null argument, a count of 0 or one whose text length does not
///         fit 32 bits
MOXPVR_EXPORT int build_buf_to_string(void *src, unsigned int count, void *dest,
                                      unsigned int *textLength);

/// @param c  a hexadecimal digit of either case
/// @return   its value; 0 for every other character
MOXPVR_EXPORT int hex_char_to_int(char c);

/// Earlier decoder, kept for its callers: each pair is scanned with "%02x" and counts as 0 when it
/// does not scan; a negative even length decodes nothing and reports length / 2.
/// @param text           `length` characters
/// @param length         even, not 0
/// @param dest           at least `length` / 2 bytes
/// @param decodedLength  out: `length` / 2
/// @return 0; 1 for a null argument, a length of 0 or an odd one
MOXPVR_EXPORT int parse_string_to_buf_old(char *text, int length, void *dest, int *decodedLength);

#endif
