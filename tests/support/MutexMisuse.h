// SPDX-License-Identifier: Apache-2.0
//
// For test programs of one source file that misuse mutexes on purpose: the thread sanitizer is to
// leave that to the library.

#ifndef ZELCOMMON_TESTS_SUPPORT_MUTEXMISUSE_H
#define ZELCOMMON_TESTS_SUPPORT_MUTEXMISUSE_H

/// Called by the sanitizer as the program starts; by nobody elsewhere.
extern "C" const char* __tsan_default_options()
{
    return "report_destroy_locked=0:report_mutex_bugs=0";
}

#endif // ZELCOMMON_TESTS_SUPPORT_MUTEXMISUSE_H
