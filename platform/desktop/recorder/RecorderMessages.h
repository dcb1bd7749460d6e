/// @file
/// The messages that a recorder's callback carries.
#ifndef TVDESKTOP_RECORDER_RECORDERMESSAGES_H
#define TVDESKTOP_RECORDER_RECORDERMESSAGES_H

#include <gst/gst.h>

#include <memory>
#include <string>

#include "TvDesktop.h"

namespace tvdesktop {

struct MessageRelease {
    void operator()(GstMessage *message) const { gst_message_unref(message); }
};
using MessagePtr = std::unique_ptr<GstMessage, MessageRelease>;

/// Makes messages in the name of one recorder. Thread-safe.
class RecorderMessages {
  public:
    /// Readies GStreamer on first use in the process.
    RecorderMessages();
    RecorderMessages(const RecorderMessages &) = delete;
    RecorderMessages &operator=(const RecorderMessages &) = delete;
    ~RecorderMessages();

    /// @return a message of type application with the integers app_type and app_param
    MessagePtr Application(RecorderApplication type, int parameter) const;

    /// @param text   one sentence for a user
    /// @param debug  where and why
    MessagePtr Error(RecorderError code, const std::string &text, const std::string &debug) const;

  private:
    GstObject *m_source;  ///< in whose name messages are posted
};

}  // namespace tvdesktop

#endif
