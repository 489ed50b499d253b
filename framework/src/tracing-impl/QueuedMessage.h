// SPDX-License-Identifier: Apache-2.0
//
// A message that keeps its texts itself: on the spot if they are short, else in one block of
// memory.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_QUEUEDMESSAGE_H
#define TRACINGIMPL_SRC_TRACINGIMPL_QUEUEDMESSAGE_H

#include <cstddef>
#include <memory>

#include "Message.h"

namespace tracing {
namespace impl {

/// A text that was allocated by array new and belongs to whoever has this.
using OwnedText = std::unique_ptr<char[]>;

class QueuedMessage
{
public:
    QueuedMessage() = default;
    QueuedMessage(const QueuedMessage&) = delete;
    QueuedMessage& operator=(const QueuedMessage&) = delete;

    /// Keeps a copy of `message`. If `owned` is not null it holds the payload, and is taken over.
    /// Returns false without memory; the message is empty then, and `owned` is released.
    bool assign(const Message& message, OwnedText owned);

    /// Moves the message to `other`, and is empty then.
    void moveTo(QueuedMessage& other);

    /// Releases what the message keeps.
    void clear();

    /// Returns the message; its texts live until this one changes.
    const Message& message() const { return m_message; }

private:
    /// Bytes that are kept on the spot: path, thread name and a line of text.
    static constexpr std::size_t ROOM = 224;

    void place(char* room, bool hasPayload);

    Message m_message = {};
    OwnedText m_payload;
    OwnedText m_block;
    char m_room[ROOM];
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_QUEUEDMESSAGE_H
