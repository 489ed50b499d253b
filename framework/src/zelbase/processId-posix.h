// SPDX-License-Identifier: Apache-2.0
//
// The process id at the price of a load: asking the system would be most of the cost of recording
// an error.

#ifndef ZELCOMMON_SRC_ZELBASE_PROCESSID_POSIX_H
#define ZELCOMMON_SRC_ZELBASE_PROCESSID_POSIX_H

#include <atomic>

#include <zel/attributes.h>

namespace zelbase {

/// The id, if it is known; 0 or less if not.
ZEL_LOCAL extern std::atomic<int> s_knownProcessId;

ZEL_LOCAL int askProcessId();

/// Returns the id of the calling process, also in a forked child. A child that was made without
/// running the fork handlers (by `_Fork` or a raw `clone`) is given its parent's id. Usable at any
/// time, before and after static initialisation too. Any thread.
inline int processId()
{
    const int known = s_knownProcessId.load(std::memory_order_relaxed);
    return known > 0 ? known : askProcessId();
}

} // namespace zelbase

#endif // ZELCOMMON_SRC_ZELBASE_PROCESSID_POSIX_H
