// SPDX-License-Identifier: Apache-2.0
//
// The version of these headers, for the preprocessor, and that of the library that a program runs
// with. What the numbers promise is in docs/interface-policy.md.
//
//     static_assert(ZELCOMMON_VERSION >= 10000, "needs zelcommon 1.0.0");
//     std::printf("built for %s, runs with %s\n", ZELCOMMON_VERSION_STRING, zel::libraryVersion());

#ifndef ZELCOMMON_ZELCOMMON_VERSION_H
#define ZELCOMMON_ZELCOMMON_VERSION_H

#include <zel/attributes.h>

/// Programs are built anew when it grows.
#define ZELCOMMON_VERSION_MAJOR 1
/// Grows with what is new.
#define ZELCOMMON_VERSION_MINOR 0
/// Grows with what is put right.
#define ZELCOMMON_VERSION_PATCH 0

/// The version as text, "MAJOR.MINOR.PATCH".
#define ZELCOMMON_VERSION_STRING "1.0.0"

/// The version as a number that grows with it: 1.2.3 is 10203.
#define ZELCOMMON_VERSION                                                                          \
    (ZELCOMMON_VERSION_MAJOR * 10000 + ZELCOMMON_VERSION_MINOR * 100 + ZELCOMMON_VERSION_PATCH)

namespace zel {

/// Returns the version of the library that the process has loaded, or that is linked into it: a
/// terminated text as `ZELCOMMON_VERSION_STRING`, of static lifetime. Any thread;
/// async-signal-safe.
ZEL_EXPORT const char* libraryVersion();

} // namespace zel

#endif // ZELCOMMON_ZELCOMMON_VERSION_H
