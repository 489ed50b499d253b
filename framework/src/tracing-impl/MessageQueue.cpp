// SPDX-License-Identifier: Apache-2.0

#include "MessageQueue.h"

#include <utility>

#include <common/tracing/Levels.h>

namespace tracing {
namespace impl {

namespace {

bool isSafe(const Message& message)
{
    return (message.modifiers & Modifiers::SAFE_TRANSPORT) != 0;
}

} // namespace

MessageQueue::MessageQueue(std::size_t capacity) : m_waiting(capacity), m_taken(capacity) {}

void MessageQueue::push(const Message& message, OwnedText owned)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!makeRoom(message, lock)) return;
    if (!m_waiting.add(message, std::move(owned))) {
        ++m_dropped;
        return;
    }
    ++m_pushed;
    if (m_isIdle) m_filled.notify_one();
}

/// Returns whether there is room for `message`. Drops the oldest one for that, or waits. One that
/// has waited itself is not dropped: then the new one is.
bool MessageQueue::makeRoom(const Message& message, std::unique_lock<std::mutex>& lock)
{
    while (isSafe(message) && !m_isClosed && m_waiting.isFull())
        m_drained.wait(lock);
    if (m_isClosed) {
        ++m_dropped;
        return false;
    }
    if (!m_waiting.isFull()) return true;
    ++m_dropped;
    if (isSafe(m_waiting.first())) return false;
    m_waiting.dropFirst();
    return true;
}

bool MessageQueue::pop(QueuedMessage& message)
{
    if (m_taken.size() == 0 && !takeAll()) return false;
    m_taken.takeFirst(message);
    return true;
}

/// Waits for messages and takes all that there are. Returns false if there are none and no more
/// come.
bool MessageQueue::takeAll()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_written = m_pushed - m_waiting.size();
    m_drained.notify_all();
    m_isIdle = true;
    while (m_waiting.size() == 0 && !m_isClosed)
        m_filled.wait(lock);
    m_isIdle = false;
    m_waiting.swap(m_taken);
    m_drained.notify_all();
    return m_taken.size() != 0;
}

void MessageQueue::waitUntilWritten()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const std::uint64_t end = m_pushed;
    while (m_written < end)
        m_drained.wait(lock);
}

void MessageQueue::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isClosed = true;
    m_filled.notify_all();
    m_drained.notify_all();
}

std::uint64_t MessageQueue::takeDropped()
{
    return m_dropped.load(std::memory_order_relaxed) == 0 ? 0 : m_dropped.exchange(0);
}

} // namespace impl
} // namespace tracing
