// SPDX-License-Identifier: Apache-2.0
//
// Compiler attributes of the public headers: what the shared library exports, and which arguments
// the compiler holds against a printf-style format.

#ifndef ZELCOMMON_ZEL_ATTRIBUTES_H
#define ZELCOMMON_ZEL_ATTRIBUTES_H

/// Makes a class, function or object part of the shared library's interface.
#define ZEL_EXPORT __attribute__((visibility("default")))

/// Keeps a private member of an exported class out of the shared library's interface.
#define ZEL_LOCAL __attribute__((visibility("hidden")))

/// Argument number `text` (counted from 1, `this` included) is a printf format whose values begin
/// at argument number `first`.
#define ZEL_PRINTF_FORMAT(text, first) __attribute__((__format__(__printf__, text, first)))

#endif // ZELCOMMON_ZEL_ATTRIBUTES_H
