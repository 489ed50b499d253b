// SPDX-License-Identifier: Apache-2.0
//
// A limit at which writes to files stop on their way.

#ifndef ZELCOMMON_TESTS_SUPPORT_FILESIZELIMIT_H
#define ZELCOMMON_TESTS_SUPPORT_FILESIZELIMIT_H

#include <csignal>
#include <cstdlib>

#include <sys/resource.h>

namespace support {

/// Limits the files of this process to `bytes`, without the signal that comes with it. For
/// children only: the results of the test program itself are written to files, too.
inline void limitFiles(rlim_t bytes)
{
    rlimit limit{};
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) std::abort();
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_FILESIZELIMIT_H
