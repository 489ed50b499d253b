// SPDX-License-Identifier: Apache-2.0
//
// The process id at the price of a load: asking the system would be most of the cost of recording
// an error.

#ifndef ZELCOMMON_SRC_ZELBASE_PROCESSID_POSIX_H
#define ZELCOMMON_SRC_ZELBASE_PROCESSID_POSIX_H

namespace zelbase {

/// Returns the id of the calling process, also in a forked child. A child that was made without
/// running the fork handlers (by `_Fork` or a raw `clone`) is given its parent's id. Usable at any
/// time, before and after static initialisation too. Any thread.
int processId();

} // namespace zelbase

#endif // ZELCOMMON_SRC_ZELBASE_PROCESSID_POSIX_H
