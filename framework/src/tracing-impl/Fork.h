// SPDX-License-Identifier: Apache-2.0
//
// Tells a process that was forked off from the one that it was forked off from.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_FORK_H
#define TRACINGIMPL_SRC_TRACINGIMPL_FORK_H

namespace tracing {
namespace impl {

/// Returns a number that is another one in every process forked off since the first call. Any
/// thread; costs no call of the system.
unsigned int forkGeneration();

/// Has processes that are forked off close `fd`, as they do not serve it, until it is forgotten.
/// For up to 16 descriptors at a time, of those that come later nothing is known.
void closeInChildren(int fd);
/// Forgets it; before it is closed. Does nothing for one that is not known.
void forgetInChildren(int fd);

/// Remembers the process in which it was made.
class OwnProcess
{
public:
    /// Returns whether this process was forked off from that one.
    bool isForked() const { return forkGeneration() != m_generation; }

private:
    const unsigned int m_generation = forkGeneration();
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_FORK_H
