// SPDX-License-Identifier: Apache-2.0
//
// The warning that a raise gives on a thread without an error storage.

#ifndef ZELCOMMON_TESTS_SUPPORT_MISSINGSTORAGE_H
#define ZELCOMMON_TESTS_SUPPORT_MISSINGSTORAGE_H

#include <string>

#include "support/ChildProcess.h"

namespace support {

/// The warning about an error with the text `message`, raised in the child of `result` on the
/// thread whose id reads `thread`.
inline std::string missingStorage(const ChildResult& result, const std::string& message,
                                  const std::string& thread = threadText())
{
#ifdef __LP64__
    const char* const leak = "2608";
#else
    const char* const leak = "2328";
#endif
    return message +
           "|framework/src/common/error/Error|operator():\n"
           "Error occured but no error storage defined (process: " +
           std::to_string(result.pid) + ", Thread: " + thread +
           ")\n"
           "YOU MUST DEFINE AN ERRORSTORAGE!\n"
           "I'm creating an error storage on the heap for this thread now but this\n"
           "introduces a memory leak of " +
           leak + " bytes!\n";
}

/// What a dump prints for an error with the text `reason`, raised at pump.cpp:7 in the child of
/// `result` on the thread whose id reads `thread`.
inline std::string unhandledError(const ChildResult& result, const std::string& reason,
                                  const std::string& thread = threadText())
{
    return "unhandled error: " + reason + " [in process/thread '" + std::to_string(result.pid) +
           "/" + thread + "', file 'pump.cpp', line 7]\n";
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_MISSINGSTORAGE_H
