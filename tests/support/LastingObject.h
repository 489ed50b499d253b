// SPDX-License-Identifier: Apache-2.0
//
// A callback that is under way until it cannot be called any more.

#ifndef ZELCOMMON_TESTS_SUPPORT_LASTINGOBJECT_H
#define ZELCOMMON_TESTS_SUPPORT_LASTINGOBJECT_H

#include <atomic>
#include <future>
#include <thread>

#include <tracing-impl/CallbackObject.h>
#include <tracing-impl/Callbacks.h>

namespace support {

/// Is registered as "lasting" among `callbacks`, which must outlive it, and called with no bytes.
class LastingObject : public tracing::CallbackObject
{
public:
    explicit LastingObject(tracing::impl::Callbacks& callbacks) : m_callbacks(callbacks) {}

    void called(int, void*, unsigned int size) override
    {
        if (size != 0) return; // from the call itself
        m_begun.set_value();
        while (m_callbacks.call("lasting", "?"))
            std::this_thread::yield();
        m_isDone = true;
    }

    std::promise<void> m_begun;
    std::atomic<bool> m_isDone{false};

private:
    tracing::impl::Callbacks& m_callbacks;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_LASTINGOBJECT_H
