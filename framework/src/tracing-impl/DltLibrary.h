// SPDX-License-Identifier: Apache-2.0
//
// The use of DLT's library, which frees itself when the process exits.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_DLTLIBRARY_H
#define TRACINGIMPL_SRC_TRACINGIMPL_DLTLIBRARY_H

#include <atomic>
#include <string>

#include <sys/types.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>

#include "../zelbase/NeverDestroyed.h"

namespace tracing {
namespace impl {

/// DLT's library in this process. Its own exit handler frees it while threads may still log.
class DltLibrary
{
public:
    /// Returns the one. It is never destroyed.
    static DltLibrary& instance();

    /// Starts DLT for the process. Returns false if it cannot.
    bool start(const std::string& processName) ZEL_EXCLUDES(m_mutex);
    void stop() ZEL_EXCLUDES(m_mutex);

    /// Calls `action` unless the process exits.
    template <typename Action>
    void use(const Action& action) ZEL_EXCLUDES(m_mutex)
    {
        const zel::ScopedLock lock(m_mutex);
        if (m_isRunning) action();
    }

private:
    friend union zelbase::NeverDestroyed<DltLibrary>;

    DltLibrary() = default;
    static void processExits();

    zel::Mutex m_mutex;
    /// The process that started DLT. Read without the lock, which a fork may have left locked.
    std::atomic<pid_t> m_process{0};
    bool m_isRunning ZEL_GUARDED_BY(m_mutex) = false;
    bool m_hasExitHandler ZEL_GUARDED_BY(m_mutex) = false;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_DLTLIBRARY_H
