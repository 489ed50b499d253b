// SPDX-License-Identifier: Apache-2.0
//
// The messages between the threads that log and the one that writes. A full queue drops its oldest
// message, and counts that.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_MESSAGEQUEUE_H
#define TRACINGIMPL_SRC_TRACINGIMPL_MESSAGEQUEUE_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "MessageRing.h"
#include "QueuedMessage.h"

namespace tracing {
namespace impl {

/// A bounded queue. Any thread pushes; one thread pops. That one takes all that there is at once,
/// so that the others seldom meet it at the lock.
class MessageQueue
{
public:
    /// A queue with room for `capacity` messages, at least 1, beside those that were taken. Throws
    /// `bad_alloc`.
    explicit MessageQueue(std::size_t capacity);
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    /// Puts a copy of `message` at the end; `owned`, if it is not null, holds the payload and is
    /// taken over. If the queue is full, a message with `SAFE_TRANSPORT` waits for room, and
    /// another takes that of the oldest one, which is dropped. A message for which there is no
    /// memory, or one that comes after `close`, is dropped.
    void push(const Message& message, OwnedText owned);

    /// Moves the oldest message to `message`; waits for one. What was popped before counts as
    /// written when all that was taken together with it is used up.
    /// Returns false if the queue is closed and empty.
    bool pop(QueuedMessage& message);

    /// Waits until all that was pushed before the call is written or dropped.
    void waitUntilWritten();

    /// Lets no more messages in. What is in the queue can still be popped.
    void close();

    /// Returns how many messages were dropped since the last call. Takes no lock.
    std::uint64_t takeDropped();

private:
    bool makeRoom(const Message& message, std::unique_lock<std::mutex>& lock);
    bool takeAll();

    /// For what is below. One with priority inheritance asks the system whenever threads meet at
    /// it, which costs many times what is done under it.
    std::mutex m_mutex;
    std::condition_variable m_filled;
    std::condition_variable m_drained;
    MessageRing m_waiting;
    /// Messages that came in so far, and those of them that are written or dropped.
    std::uint64_t m_pushed = 0;
    std::uint64_t m_written = 0;
    std::atomic<std::uint64_t> m_dropped{0};
    bool m_isIdle = false;
    bool m_isClosed = false;

    /// What the popping thread has taken, for it alone.
    MessageRing m_taken;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_MESSAGEQUEUE_H
