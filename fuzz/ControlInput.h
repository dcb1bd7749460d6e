/// @file
/// Control requests and bus messages as no careful service or platform would send them.
#ifndef FUZZ_CONTROLINPUT_H
#define FUZZ_CONTROLINPUT_H

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "MoxPvrProtocol.h"
#include "Require.h"
#include "ScriptedPlatform.h"

struct _GstMessage;

/// One request: a text in a block of exactly its size, so that one character too many is noticed,
/// and the length that is announced for it. Announced are never more characters than the block
/// holds, unless they are too many for any request.
class ControlInput {
  public:
    static constexpr unsigned int kLongestText = moxpvr::kMaxRequestText;

    explicit ControlInput(FuzzedDataProvider &input);

    unsigned char *text() { return m_hasText ? m_block.get() : nullptr; }
    unsigned int announced() const { return m_announced; }

    /// What a log may show of it: up to the NUL or the announced length.
    std::string Shown() const;

    /// @return the command number, 0 when the text cannot be decoded
    unsigned int Command() const;

  private:
    enum class Shape {
        Record,       ///< command and payload as digits, no NUL behind
        Terminated,   ///< the same with its NUL
        Free,         ///< any characters, no NUL behind
        Longer,       ///< goes on behind the announced length
        BeyondLimit,  ///< announced longer than any request, in fact short and with its NUL
        AroundLimit,  ///< about as long as the longest request
        Missing,      ///< no text at all
        kMaxValue = Missing,
    };

    std::unique_ptr<unsigned char[]> m_block;
    unsigned int m_announced = 0;
    bool m_hasText = true;
};

/// What a kind of instance answers to.
struct ControlCommands {
    unsigned int last;                           ///< commands are 1 to this
    std::initializer_list<unsigned int> asking;  ///< refused with 1 when there is no reply buffer
    std::size_t replySize;                       ///< the longest reply with its NUL
};

/// Sends one request and checks what holds whatever it was.
/// @param control  the instance's control operation as (request, reply size, reply)
template <typename Control>
void SendRequest(FuzzedDataProvider &input, const ControlCommands &commands, Control &&control) {
    constexpr unsigned int kUntouched = 0xFEEDBEEF;
    ControlInput request(input);
    const unsigned int command = request.Command();
    const bool hasReply = !input.ConsumeBool();
    std::vector<unsigned char> reply(commands.replySize, 'x');
    unsigned int length = kUntouched;
    const unsigned int result = control(request, length, hasReply ? reply.data() : nullptr);
    const bool isUntouched = Platform().calls() == 0 && length == kUntouched;
    const bool isAsking =
        std::find(commands.asking.begin(), commands.asking.end(), command) != commands.asking.end();
    if (command < 1 || command > commands.last)
        Require(result == 2 && isUntouched, "undecodable requests reach no operation");
    else if (isAsking && !hasReply)
        Require(result == 1 && isUntouched, "a question without a reply buffer is refused");
    Require(result <= 2 || Platform().hasFailed(), "other results are the platform's own");
    Require(length == kUntouched ||
                (hasReply ? length < reply.size() && reply[length] == '\0' : length == 0),
            "a reply is as long as announced");
}

/// Frees a GstMessage.
struct MessageDeleter {
    void operator()(_GstMessage *message) const;
};
using MessagePointer = std::unique_ptr<_GstMessage, MessageDeleter>;

/// @return an application, error or other bus message with or without what handlers look for; may
///         be null. Owned by the caller
MessagePointer TakeMessage(FuzzedDataProvider &input);

/// Readies GStreamer and keeps its error output quiet. For LLVMFuzzerInitialize.
void InitializeMessages();

#endif
