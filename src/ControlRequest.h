/// @file
/// What the two control dispatchers share: the decoded request, its results and the command table.
#ifndef MOXPVR_CONTROLREQUEST_H
#define MOXPVR_CONTROLREQUEST_H

#include <cstddef>
#include <type_traits>

#include "MoxPvr.h"
#include "WireRecord.h"

namespace mox {

/// Results of operations and control calls; every other value is the platform's own.
enum Result : unsigned int {
    kSuccess = 0,
    kMissing = 1,        ///< no platform object, record or reply buffer; out of memory; unread file
    kBadRequest = 2,     ///< text that cannot be decoded, unknown command
    kNoInstance = 9999,  ///< no instance is registered for an entry point's request
};

/// Longest request text: two characters for each byte of the record.
inline constexpr unsigned int kMaxRequestText = 2 * kRecordSize;

/// A request on its way to an operation: the record, zero behind what was decoded, on the
/// dispatcher's stack.
class ControlRequest {
  public:
    /// @return false for a text that is empty, odd or longer than the record
    bool Decode(unsigned char *text, unsigned int length) {
        int decoded = 0;
        return length <= kMaxRequestText &&
               parse_string_to_buf(reinterpret_cast<char *>(text), static_cast<int>(length),
                                   m_bytes, &decoded) == 0;
    }

    unsigned int Command() { return WireRecord(m_bytes).U32(0); }
    unsigned char *record() { return m_bytes; }

  private:
    alignas(8) unsigned char m_bytes[kRecordSize] = {};
};

/// What an operation may get: its record and where its reply goes.
struct ControlArguments {
    unsigned char *record;
    void *reply;
    unsigned int *replyLength;
};

/// One row of a command table. Rows stand in the order of the command numbers, from 1.
template <typename Instance>
struct ControlCommand {
    unsigned int (*run)(Instance &instance, const ControlArguments &arguments);
    bool needsReply;  ///< refused with 1 when there is no reply buffer
};

/// Calls an operation with as much of the arguments as it takes.
template <auto Operation, typename Instance>
unsigned int Call(Instance &instance, const ControlArguments &arguments) {
    using Signature = decltype(Operation);
    if constexpr (std::is_invocable_v<Signature, Instance &>) {
        return static_cast<unsigned int>((instance.*Operation)());
    } else if constexpr (std::is_invocable_v<Signature, Instance &, unsigned char *>) {
        return static_cast<unsigned int>((instance.*Operation)(arguments.record));
    } else if constexpr (std::is_invocable_v<Signature, Instance &, void *, unsigned int *>) {
        return static_cast<unsigned int>(
            (instance.*Operation)(arguments.reply, arguments.replyLength));
    } else {
        return static_cast<unsigned int>(
            (instance.*Operation)(arguments.record, arguments.reply, arguments.replyLength));
    }
}

/// @return the row of a command, or null when there is none
template <typename Instance, std::size_t Count>
const ControlCommand<Instance> *FindCommand(const ControlCommand<Instance> (&table)[Count],
                                            unsigned int command) {
    return command >= 1 && command <= Count ? &table[command - 1] : nullptr;
}

}  // namespace mox

#endif
