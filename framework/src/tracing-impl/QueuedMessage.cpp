// SPDX-License-Identifier: Apache-2.0

#include "QueuedMessage.h"

#include <cstring>
#include <new>
#include <utility>

namespace tracing {
namespace impl {

namespace {

/// Copies `text` to `room`, lets it name the copy, and returns the place behind.
char* keep(std::string_view& text, char* room)
{
    if (!text.empty()) std::memcpy(room, text.data(), text.size());
    text = std::string_view(room, text.size());
    return room + text.size();
}

/// Lets `text`, which lies in the block that begins at `from`, name the same place in `to`.
void rebase(std::string_view& text, const char* from, const char* to)
{
    if (!text.empty()) text = std::string_view(to + (text.data() - from), text.size());
}

} // namespace

bool QueuedMessage::assign(const Message& message, OwnedText owned)
{
    m_message = message;
    m_payload = std::move(owned);
    m_block.reset();
    const bool copiesPayload = m_payload == nullptr;
    std::size_t size = message.path.size() + message.threadName.size(); // of objects in memory
    const std::size_t payload = copiesPayload ? message.payload.size() : 0;
    const bool isTooLarge = __builtin_add_overflow(size, payload, &size);
    if (isTooLarge) {
        clear();
        return false;
    }
    if (size > ROOM) {
        m_block.reset(new (std::nothrow) char[size]);
        if (m_block == nullptr) {
            clear();
            return false;
        }
    }
    place(m_block == nullptr ? m_room : m_block.get(), copiesPayload);
    return true;
}

void QueuedMessage::place(char* room, bool hasPayload)
{
    room = keep(m_message.path, room);
    room = keep(m_message.threadName, room);
    if (hasPayload) keep(m_message.payload, room);
}

void QueuedMessage::moveTo(QueuedMessage& other)
{
    other.m_message = m_message;
    other.m_payload = std::move(m_payload);
    other.m_block = std::move(m_block);
    if (other.m_block == nullptr) {
        std::memcpy(other.m_room, m_room, ROOM);
        rebase(other.m_message.path, m_room, other.m_room);
        rebase(other.m_message.threadName, m_room, other.m_room);
        if (other.m_payload == nullptr) rebase(other.m_message.payload, m_room, other.m_room);
    }
    m_message = {};
}

void QueuedMessage::clear()
{
    m_payload.reset();
    m_block.reset();
    m_message = {};
}

} // namespace impl
} // namespace tracing
