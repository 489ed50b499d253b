// SPDX-License-Identifier: Apache-2.0
//
// What a message says of the thread that logs it.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_CURRENTTHREAD_H
#define TRACINGIMPL_SRC_TRACINGIMPL_CURRENTTHREAD_H

#include <string_view>

#include <sys/types.h>

namespace tracing {
namespace impl {

/// Returns the kernel's id of the calling thread. Asks the system once in each thread.
pid_t currentThreadId();

/// Gives the calling thread a name, of which the first 31 bytes are kept; "" for none.
void nameCurrentThread(std::string_view name);
/// Returns that name. Valid until the thread has another one, or ends.
std::string_view currentThreadName();

/// Marks the calling thread as one that the client waits for when it ends: one of this library's,
/// or of a sink's that is in a callback.
class OwnThread
{
public:
    OwnThread();
    ~OwnThread();
    OwnThread(const OwnThread&) = delete;
    OwnThread& operator=(const OwnThread&) = delete;

private:
    const bool m_wasOwn;
};

/// Returns whether the calling thread is marked.
bool isOwnThread();

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_CURRENTTHREAD_H
