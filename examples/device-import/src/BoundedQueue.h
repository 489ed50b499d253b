// SPDX-License-Identifier: Apache-2.0
//
// A queue with a fixed number of places between threads. Whoever finds it full or empty waits, but
// never beyond a deadline, and closing it lets everybody go.
//
//     BoundedQueue<ImportJob> jobs(4);
//     if (jobs.push(std::move(job), deadline) == QueueResult::LATE) complain();
//     while (jobs.pop(job, zelbase::TimePoint::MAX) == QueueResult::DONE) run(job);

#ifndef DEVICE_IMPORT_BOUNDEDQUEUE_H
#define DEVICE_IMPORT_BOUNDEDQUEUE_H

#include <cstddef>
#include <deque>
#include <utility>

#include <zel/Condition.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>
#include <zelbase/time.h>

namespace deviceimport {

/// What became of a call of BoundedQueue.
enum class QueueResult {
    DONE,   ///< the item has changed hands
    LATE,   ///< the deadline passed first
    CLOSED, ///< the queue is closed, and for `pop` empty
};

/// A first-in, first-out queue of items that can be moved. Not copyable. Any thread may call
/// anything; to be destroyed only when no thread is in a call.
template <typename T>
class BoundedQueue
{
public:
    /// A queue with `capacity` places. Requires `capacity` > 0.
    explicit BoundedQueue(std::size_t capacity) : m_capacity(capacity) {}
    BoundedQueue(const BoundedQueue&) = delete;
    BoundedQueue& operator=(const BoundedQueue&) = delete;

    /// Moves `item` to the end of the queue. Blocks while the queue is full, no longer than until
    /// `deadline`; not at all if that has passed, and without an end if it is `TimePoint::MAX`.
    /// Returns QueueResult::DONE if the queue has the item.
    /// Returns QueueResult::LATE if the queue was full until the deadline; `item` is unchanged.
    /// Returns QueueResult::CLOSED if the queue is closed, full or not; `item` is unchanged.
    QueueResult push(T&& item, const zelbase::TimePoint& deadline) ZEL_EXCLUDES(m_mutex)
    {
        const zel::ScopedLock lock(m_mutex);
        bool late = false;
        while (!m_closed && !late && m_items.size() >= m_capacity)
            late = !wait(m_drained, deadline);
        if (m_closed) return QueueResult::CLOSED;
        if (m_items.size() >= m_capacity) return QueueResult::LATE;

        m_items.push_back(std::move(item));
        m_filled.signal_one();
        return QueueResult::DONE;
    }

    /// Moves the first item of the queue to `item`. Blocks while the queue is empty, with the
    /// deadline as for `push`. A closed queue still gives what is in it.
    /// Returns QueueResult::DONE if there was an item.
    /// Returns QueueResult::LATE if the queue was empty until the deadline; `item` is unchanged.
    /// Returns QueueResult::CLOSED if the queue is closed and empty; `item` is unchanged.
    QueueResult pop(T& item, const zelbase::TimePoint& deadline) ZEL_EXCLUDES(m_mutex)
    {
        const zel::ScopedLock lock(m_mutex);
        bool late = false;
        while (!m_closed && !late && m_items.empty())
            late = !wait(m_filled, deadline);
        if (m_items.empty()) return m_closed ? QueueResult::CLOSED : QueueResult::LATE;

        item = std::move(m_items.front());
        m_items.pop_front();
        m_drained.signal_one();
        return QueueResult::DONE;
    }

    /// Lets no more items in, and ends the waits of all threads. May be called again.
    void close() ZEL_EXCLUDES(m_mutex)
    {
        const zel::ScopedLock lock(m_mutex);
        m_closed = true;
        m_filled.signal_all();
        m_drained.signal_all();
    }

private:
    /// Returns false at the deadline.
    bool wait(zel::Condition& condition, const zelbase::TimePoint& deadline) ZEL_REQUIRES(m_mutex)
    {
        // To a condition that is a point of time like others, which may even lie in the past.
        if (deadline != zelbase::TimePoint::MAX) return condition.wait_timeout(deadline);
        condition.wait();
        return true;
    }

    const std::size_t m_capacity;
    zel::Mutex m_mutex;
    zel::Condition m_filled{m_mutex};
    zel::Condition m_drained{m_mutex};
    std::deque<T> m_items ZEL_GUARDED_BY(m_mutex);
    bool m_closed ZEL_GUARDED_BY(m_mutex) = false;
};

} // namespace deviceimport

#endif // DEVICE_IMPORT_BOUNDEDQUEUE_H
