// SPDX-License-Identifier: Apache-2.0
//
// The place that a report of the library names. Users and their tools match these texts and
// numbers, so each is fixed data and does not move with the code.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_SITE_H
#define ZELCOMMON_SRC_COMMON_ERROR_SITE_H

#include <common/error/GlobalErrorHandler.h>

namespace errorcore {

/// File without its ending, line and function of a report.
struct Site
{
    const char* file;
    int line;
    const char* function;
};

/// Reports a failed assertion without a reason at `site` if `condition` is false.
inline void assertAt(const Site& site, bool condition, const char* conditionText)
{
    if (condition) return;
    std::GlobalErrorHandler::doAssert(false, conditionText, site.file, site.line, site.function,
                                      nullptr);
}

} // namespace errorcore

#endif // ZELCOMMON_SRC_COMMON_ERROR_SITE_H
