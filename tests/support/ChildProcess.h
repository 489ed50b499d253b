// SPDX-License-Identifier: Apache-2.0
//
// Runs a piece of a test in a process of its own: handlers cannot be unregistered, reports go to
// the standard streams, and some calls end the process.

#ifndef ZELCOMMON_TESTS_SUPPORT_CHILDPROCESS_H
#define ZELCOMMON_TESTS_SUPPORT_CHILDPROCESS_H

#include <functional>
#include <string>

#include <sys/types.h>

namespace support {

/// What became of a child process.
struct ChildResult
{
    pid_t pid = 0;
    /// Exit code, or -1 if a signal ended it.
    int exitCode = -1;
    /// The signal that ended it, or 0.
    int signal = 0;
    /// All that it wrote to standard output.
    std::string out;
    /// All that it wrote to standard error.
    std::string err;
};

/// Runs `body` in a forked child, which then ends with exit code 0 without running exit handlers,
/// and with 1 if an expectation of GoogleTest failed in it (the failure is printed to `out`).
/// Requires that the caller's process has one thread. The id of the child's first thread
/// (`pthread_self()`) is the caller's.
ChildResult runInChild(const std::function<void()>& body);

/// As `runInChild`, but the child ends through `exit(0)`, with its exit handlers.
ChildResult runInChildToExit(const std::function<void()>& body);

/// Writes down what the process has run, where that is counted: for one that ends without its exit
/// handlers.
void saveCoverage();

/// The first line of a default report: "TITLE in process P / thread T !\n" for the child of
/// `result` and the calling thread.
std::string reportTitle(const std::string& title, const ChildResult& result);

/// The calling thread's id as reports print it.
std::string threadText();

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_CHILDPROCESS_H
