// SPDX-License-Identifier: Apache-2.0
//
// A caller that reports a failed system call may still want to know its errno.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_ERRNOKEEPER_H
#define ZELCOMMON_SRC_COMMON_ERROR_ERRNOKEEPER_H

#include <cerrno>

namespace errorcore {

/// Gives `errno` back the value that it had at construction.
class ErrnoKeeper
{
public:
    ErrnoKeeper() : m_errno(errno) {}
    ~ErrnoKeeper() { errno = m_errno; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    const int m_errno;
};

} // namespace errorcore

#endif // ZELCOMMON_SRC_COMMON_ERROR_ERRNOKEEPER_H
