// SPDX-License-Identifier: Apache-2.0
//
// Another thread, which holds a mutex for as long as it is let.
//
//     support::HoldingThread holder(mutex);
//     EXPECT_FALSE(mutex.try_lock());

#ifndef ZELCOMMON_TESTS_SUPPORT_HOLDINGTHREAD_H
#define ZELCOMMON_TESTS_SUPPORT_HOLDINGTHREAD_H

#include <future>
#include <thread>

namespace support {

template <typename Mutex>
class HoldingThread
{
public:
    /// Returns as soon as the thread holds `mutex`, which must outlive this object.
    explicit HoldingThread(Mutex& mutex) : m_thread([this, &mutex] { hold(mutex); })
    {
        m_held.get_future().wait();
    }
    /// Waits until the thread has unlocked the mutex.
    ~HoldingThread()
    {
        m_letGo.set_value();
        m_thread.join();
    }
    HoldingThread(const HoldingThread&) = delete;
    HoldingThread& operator=(const HoldingThread&) = delete;

private:
    void hold(Mutex& mutex)
    {
        mutex.lock();
        m_held.set_value();
        m_letGo.get_future().wait();
        mutex.unlock();
    }

    std::promise<void> m_held;
    std::promise<void> m_letGo;
    std::thread m_thread;
};

/// What `attempt` returns on a thread of its own.
template <typename Attempt>
auto onAnotherThread(Attempt attempt)
{
    return std::async(std::launch::async, attempt).get();
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_HOLDINGTHREAD_H
