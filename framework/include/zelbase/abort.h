// SPDX-License-Identifier: Apache-2.0
//
// zelbase::abort ends the process when not even the error handling can be relied upon: it prints
// one line and stops. It consults no handler and no setting, and reads no error storage.
//
//     if (pthread_key_create(&key, nullptr) != 0)
//         zelbase::abort(FILE_NAME, LINE, "TlsImpl", "pthread_key_create failed");

#ifndef ZELCOMMON_ZELBASE_ABORT_H
#define ZELCOMMON_ZELBASE_ABORT_H

#include <zel/attributes.h>

namespace zelbase {

/// Prints the message, then " in FILE:LINE, FUNCTION\n", to standard error and ends the process
/// with the C library's `abort()`. Never returns, whatever `GlobalErrorHandler::s_disable_abort`
/// says.
///
/// `file` and `function` are printed as given; a null text is printed as "(null)". `format` is a
/// printf format with its values behind it; a null format prints no message. Allocates nothing. A
/// pending cancellation of the thread does not keep the process alive. Not async-signal-safe.
[[noreturn]] ZEL_EXPORT void abort(const char* file, int line, const char* function,
                                   const char* format, ...) ZEL_PRINTF_FORMAT(4, 5);

} // namespace zelbase

#endif // ZELCOMMON_ZELBASE_ABORT_H
