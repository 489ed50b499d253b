// SPDX-License-Identifier: Apache-2.0
//
// How a failed call of the operating system becomes a chain of errors.

#ifndef ZELPOSIX_SRC_ZELPOSIX_POSIXREPORT_H
#define ZELPOSIX_SRC_ZELPOSIX_POSIXREPORT_H

namespace posixcore {

/// Rows of `IBinStreamBase::StreamError`.
enum {
    STREAM_BROKEN = 0,
    STREAM_FAILED = 1,
    STREAM_ENDED = 2,
    STREAM_UNSUPPORTED = 3,
};

/// Raises what `call` failed with, and the row of `StreamError` that this comes to; `errno` is
/// `error` then. Returns true, the failure of a stream's primitive.
bool raiseFailure(const char* call, int error);

/// Raises the end of a stream. Returns true, the failure of a stream's primitive.
bool raiseEnd();

} // namespace posixcore

#endif // ZELPOSIX_SRC_ZELPOSIX_POSIXREPORT_H
