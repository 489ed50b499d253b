// SPDX-License-Identifier: Apache-2.0
//
// Answers in place of DLT's library, and writes down what it is asked.

#ifndef ZELCOMMON_TESTS_TRACINGIMPL_DLT_FAKEDLT_H
#define ZELCOMMON_TESTS_TRACINGIMPL_DLT_FAKEDLT_H

#include <cstdint>
#include <string>
#include <vector>

#include <dlt/dlt.h>

namespace fakedlt {

/// What the library does next; the default is that all goes well.
struct Answers
{
    bool starts = true;
    bool takesApplication = true;
    bool takesContexts = true;
    bool takesMessages = true;
};

extern Answers answers;

/// Forgets everything. Requires that DLT is not in use.
void reset();

/// Returns the calls since the last time, as "context NETT 4 net_tcp" or "text NETT 4 hello".
std::vector<std::string> takeCalls();

/// Sets the context's filter, as a daemon does, and calls back.
void changeLevel(const std::string& id, std::uint8_t level, std::uint8_t traceStatus);

/// Calls back with the bytes. Returns what the callback returns.
int inject(const std::string& bytes);

} // namespace fakedlt

#endif // ZELCOMMON_TESTS_TRACINGIMPL_DLT_FAKEDLT_H
