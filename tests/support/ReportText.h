// SPDX-License-Identifier: Apache-2.0
//
// What the library prints to standard error for a report of the calling thread while no error is
// pending.

#ifndef ZELCOMMON_TESTS_SUPPORT_REPORTTEXT_H
#define ZELCOMMON_TESTS_SUPPORT_REPORTTEXT_H

#include <string>

#include <pthread.h>
#include <unistd.h>

namespace support {

inline std::string reportHeading(const std::string& title, const std::string& location)
{
    return title + " in process " + std::to_string(getpid()) + " / thread " +
           std::to_string(static_cast<long>(pthread_self())) + " !\nLocation: " + location + "\n";
}

inline std::string warningText(const std::string& location, const std::string& reason)
{
    return reportHeading("Warning triggered", location) + "Reason: \"" + reason +
           "\"\nNo error context set\n";
}

/// Of an assertion without a reason.
inline std::string assertionText(const std::string& location, const std::string& condition)
{
    return reportHeading("Assert failed", location) + "Condition: \"" + condition +
           "\"\nNo reason given\nNo error context set\n";
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_REPORTTEXT_H
