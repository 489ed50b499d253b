// SPDX-License-Identifier: Apache-2.0
//
// A child of a process that has several threads, on the process's own streams.

#ifndef ZELCOMMON_TESTS_SUPPORT_FORKEDCHILD_H
#define ZELCOMMON_TESTS_SUPPORT_FORKEDCHILD_H

#include <sys/wait.h>
#include <unistd.h>

#include "ChildProcess.h"

// The thread sanitizer does not let go of threads that a child does not have.
#ifdef __has_feature
#if __has_feature(thread_sanitizer)
#define SUPPORT_KEEPS_THREADS
#endif
#endif

namespace support {

/// Runs `body`, which returns the exit code, in a child. Returns that code; -1 if a signal ended
/// the child, as it does if the child hangs for two minutes.
template <typename Body>
int runForked(const Body& body)
{
    constexpr unsigned int PATIENCE = 120;
    const pid_t child = fork();
    if (child == 0) {
        alarm(PATIENCE);
        const int code = body();
        saveCoverage();
        _exit(code);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {}
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_FORKEDCHILD_H
