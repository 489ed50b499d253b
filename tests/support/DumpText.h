// SPDX-License-Identifier: Apache-2.0
//
// What dumps show of errors that `OpenStorage.h` records.

#ifndef ZELCOMMON_TESTS_SUPPORT_DUMPTEXT_H
#define ZELCOMMON_TESTS_SUPPORT_DUMPTEXT_H

#include <string>

#include "support/ChildProcess.h"

namespace support {

/// What a dump shows of error `id` behind its label, recorded by the first thread of the child of
/// `result`.
inline std::string dumped(const ChildResult& result, int id, const std::string& reason = "dry")
{
    return ": " + reason + " [in process/thread '" + std::to_string(result.pid) + "/" +
           threadText() + "', file 'pump.c', line " + std::to_string(id) + "]\n";
}

/// How often `piece` occurs in `text`.
inline int occurrences(const std::string& text, const std::string& piece)
{
    int count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
        ++count;
    return count;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_DUMPTEXT_H
