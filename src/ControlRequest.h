/// @file
/// What the two control dispatchers share: the decoded request, the command table, and the way to
/// an operation and back.
#ifndef MOXPVR_CONTROLREQUEST_H
#define MOXPVR_CONTROLREQUEST_H

#include <cstddef>
#include <new>
#include <optional>
#include <type_traits>

#include "MoxPvr.h"
#include "MoxPvrProtocol.h"

namespace mox {

/// A request on its way to an operation: the record, zero after what was decoded, on the
/// dispatcher's stack.
class ControlRequest {
  public:
    /// @return false for a text that is empty, odd or longer than the record
    bool Decode(unsigned char *text, unsigned int length) {
        int decoded = 0;
        return length <= moxpvr::kMaxRequestText &&
               parse_string_to_buf(reinterpret_cast<char *>(text), static_cast<int>(length),
                                   m_bytes, &decoded) == 0;
    }

    unsigned int Command() const { return moxpvr::CommandOf(m_bytes, sizeof m_bytes); }
    unsigned char *record() { return m_bytes; }

  private:
    alignas(8) unsigned char m_bytes[moxpvr::kRecordSize] = {};
};

/// What an operation may get: its record and where its reply goes.
struct ControlArguments {
    unsigned char *record;
    void *reply;
    unsigned int *replyLength;
};

/// One row of a command table. Rows are in the order of the command numbers, from 1.
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

/// Carries out a command that was found.
/// @return its result; nothing when memory ran out on the way
template <typename Instance>
std::optional<unsigned int> Run(const ControlCommand<Instance> &command, Instance &instance,
                                const ControlArguments &arguments) {
    if (command.needsReply && arguments.reply == nullptr)
        return moxpvr::kMissing;
    try {
        return command.run(instance, arguments);
    } catch (const std::bad_alloc &) {
        return std::nullopt;
    }
}

/// @param record  as the dispatcher hands it to an operation
/// @return        the fields of a request
template <typename Request>
Request Read(const unsigned char *record) {
    Request request;
    moxpvr::Decode(record, moxpvr::kRecordSize, request);
    return request;
}

/// @return a path where it lies in a record, cut to 255 characters if it does not end in its field
inline char *PathIn(unsigned char *record, std::size_t offset) {
    record[offset + moxpvr::kTextFieldSize - 1] = '\0';
    return reinterpret_cast<char *>(record + offset);
}

/// Writes an operation's reply as text.
template <typename Reply>
void Answer(const Reply &reply, void *text, unsigned int *textLength) {
    unsigned char bytes[moxpvr::EncodedSize(Reply{})] = {};
    moxpvr::Encode(reply, bytes);
    build_buf_to_string(bytes, sizeof bytes, text, textLength);
}

}  // namespace mox

#endif
