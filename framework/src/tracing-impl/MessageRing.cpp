// SPDX-License-Identifier: Apache-2.0

#include "MessageRing.h"

#include <algorithm>
#include <new>
#include <utility>

namespace tracing {
namespace impl {

MessageRing::MessageRing(std::size_t capacity)
    : m_capacity(std::max<std::size_t>(capacity, 1)), m_pieces((m_capacity + PIECE - 1) / PIECE)
{}

/// Returns the slot of a place, counted from the first message, or null without memory for it.
QueuedMessage* MessageRing::slot(std::size_t place)
{
    const std::size_t index = (m_first + place) % m_capacity;
    std::unique_ptr<QueuedMessage[]>& piece = m_pieces[index / PIECE];
    if (piece == nullptr) piece.reset(new (std::nothrow) QueuedMessage[PIECE]);
    return piece == nullptr ? nullptr : &piece[index % PIECE];
}

bool MessageRing::add(const Message& message, OwnedText owned)
{
    QueuedMessage* const place = slot(m_size);
    if (place == nullptr || !place->assign(message, std::move(owned))) return false;
    ++m_size;
    return true;
}

void MessageRing::takeFirst(QueuedMessage& message)
{
    slot(0)->moveTo(message);
    dropFirst();
}

void MessageRing::dropFirst()
{
    slot(0)->clear();
    m_first = (m_first + 1) % m_capacity;
    --m_size;
}

void MessageRing::swap(MessageRing& other)
{
    m_pieces.swap(other.m_pieces);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_first, other.m_first);
    std::swap(m_size, other.m_size);
}

} // namespace impl
} // namespace tracing
