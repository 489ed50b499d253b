// SPDX-License-Identifier: Apache-2.0
//
// A thread whose calls of the system signals interrupt.
//
//     support::InterruptedThread reader([&] { count = read(fd, data, size); });
//     reader.interrupt(10);
//     reader.join();

#ifndef ZELCOMMON_TESTS_SUPPORT_INTERRUPTEDTHREAD_H
#define ZELCOMMON_TESTS_SUPPORT_INTERRUPTEDTHREAD_H

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

#include <pthread.h>
#include <sched.h>

namespace support {

/// While it exists SIGUSR1 has a handler, and calls are not made again by themselves. One at a
/// time.
class InterruptedThread
{
public:
    explicit InterruptedThread(const std::function<void()>& body)
    {
        struct sigaction action = {}; // without SA_RESTART
        action.sa_handler = [](int) { ++s_handled; };
        sigaction(SIGUSR1, &action, &m_before);
        m_thread = std::thread([this, body] {
            body();
            m_isOver = true;
        });
    }
    ~InterruptedThread() { sigaction(SIGUSR1, &m_before, nullptr); }
    InterruptedThread(const InterruptedThread&) = delete;
    InterruptedThread& operator=(const InterruptedThread&) = delete;

    /// Has the thread handle `count` signals, one after the other, unless it is over before. Many
    /// in a row leave it no time to be elsewhere than in the call that it waits in.
    void interrupt(int count)
    {
        for (int done = 0; done < count && !m_isOver; ++done)
            interruptOnce();
    }
    bool isOver() const { return m_isOver; }
    void join() { m_thread.join(); }

private:
    /// Sends the signal until it is seen: a sanitizer may put it off until the next one ends the
    /// call.
    void interruptOnce()
    {
        const unsigned int before = s_handled;
        while (s_handled == before && !m_isOver) {
            pthread_kill(m_thread.native_handle(), SIGUSR1);
            sched_yield();
        }
    }

    static inline std::atomic<unsigned int> s_handled{0};

    std::atomic<bool> m_isOver{false};
    std::thread m_thread;
    struct sigaction m_before = {};
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_INTERRUPTEDTHREAD_H
