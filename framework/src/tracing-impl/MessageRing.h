// SPDX-License-Identifier: Apache-2.0
//
// A bounded sequence of messages that takes memory as it is needed first, and keeps it.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_MESSAGERING_H
#define TRACINGIMPL_SRC_TRACINGIMPL_MESSAGERING_H

#include <cstddef>
#include <memory>
#include <vector>

#include "QueuedMessage.h"

namespace tracing {
namespace impl {

/// Not thread-safe. A ring whose list of pieces could not be allocated has no room.
class MessageRing
{
public:
    /// A ring with room for `capacity` messages, at least 1. Requires memory for its list of
    /// pieces.
    explicit MessageRing(std::size_t capacity);

    std::size_t size() const { return m_size; }
    bool isFull() const { return m_size == m_capacity; }

    /// Adds a message at the end, see `QueuedMessage::assign`. Requires that the ring is not full.
    /// Returns false without memory; nothing is added then, and `owned` is released.
    bool add(const Message& message, OwnedText owned);

    /// Returns the first message. Requires that there is one.
    const Message& first() { return slot(0)->message(); }
    /// Moves the first message to `message`. Requires that there is one.
    void takeFirst(QueuedMessage& message);
    /// Removes the first message. Requires that there is one.
    void dropFirst();

    /// Exchanges all with a ring of the same capacity. Allocates nothing.
    void swap(MessageRing& other);

private:
    /// Messages that get their memory together.
    static constexpr std::size_t PIECE = 32;

    QueuedMessage* slot(std::size_t place);

    std::size_t m_capacity;
    std::vector<std::unique_ptr<QueuedMessage[]>> m_pieces;
    std::size_t m_first = 0;
    std::size_t m_size = 0;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_MESSAGERING_H
