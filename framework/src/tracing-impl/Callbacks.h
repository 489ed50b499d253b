// SPDX-License-Identifier: Apache-2.0
//
// What the program lets the trace tool call, by name.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_CALLBACKS_H
#define TRACINGIMPL_SRC_TRACINGIMPL_CALLBACKS_H

#include <map>
#include <string>
#include <vector>

#include <common/tracing/IClient.h>
#include <sys/types.h>
#include <zel/Condition.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>

namespace tracing {
namespace impl {

/// The callbacks of the process. Any thread; a callback may register and unregister others, and
/// itself.
class Callbacks
{
public:
    /// Registers a callback, in place of one of the same name. Returns its id, or -1 for a null one
    /// and without memory.
    int add(const std::string& name, IClient::Callback callback) ZEL_EXCLUDES(m_mutex);
    int add(const std::string& name, CallbackObject* object) ZEL_EXCLUDES(m_mutex);
    /// Returns 0, or -1 for an id that is none. Waits until the callback is not under way any more,
    /// unless it is the callback itself that calls.
    int remove(int id) ZEL_EXCLUDES(m_mutex);

    /// Calls the callback of that name with the id and `bytes`. Returns false if there is none.
    bool call(const std::string& name, std::string bytes) ZEL_EXCLUDES(m_mutex);

    /// Lets nothing be called any more. Returns when no callback is under way. Not from a callback.
    void close() ZEL_EXCLUDES(m_mutex);

private:
    /// One of the two is null.
    struct Entry
    {
        int id;
        IClient::Callback callback;
        CallbackObject* object;
    };

    int add(const std::string& name, const Entry& entry) ZEL_EXCLUDES(m_mutex);
    /// A call that is under way.
    struct Call
    {
        int id;
        pid_t thread;
    };

    bool begin(const std::string& name, Entry& entry) ZEL_EXCLUDES(m_mutex);
    static bool run(const Entry& entry, std::string& bytes);
    void end(int id) ZEL_EXCLUDES(m_mutex);
    bool isUnderWay(int id) const ZEL_REQUIRES(m_mutex);

    zel::Mutex m_mutex;
    zel::Condition m_ended{m_mutex};
    std::vector<Call> m_calls ZEL_GUARDED_BY(m_mutex);
    std::map<std::string, Entry> m_entries ZEL_GUARDED_BY(m_mutex);
    int m_nextId ZEL_GUARDED_BY(m_mutex) = 0;
    bool m_isClosed ZEL_GUARDED_BY(m_mutex) = false;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_CALLBACKS_H
