// SPDX-License-Identifier: Apache-2.0
//
// zel::PosixError: what the operating system said. It is the cause of the `StreamError` that a
// stream of this library raises; the functions tell apart what is no failure at all.
//
//     while (input.read(block, sizeof block, got) == 1) use(block, got);
//     if (!zel::isEndOfStream()) return false;
//     std::ErrorStorage::ack();

#ifndef ZELPOSIX_ZELPOSIX_POSIXERROR_H
#define ZELPOSIX_ZELPOSIX_POSIXERROR_H

#include <common/error/ErrorType.h>
#include <zel/attributes.h>

namespace zel {

/// Rows of `PosixError`, with their values.
enum {
    /// "%s failed: %s (errno %d)": const char* call, const char* text of the system, int errno.
    POSIX_FAILED = 0,
    /// "%s would block": const char* call; it is worth trying again later.
    POSIX_WOULD_BLOCK = 1,
};

/// What a call of the operating system failed with.
ZEL_EXPORT extern std::ErrorType PosixError;

/// Returns whether the newest error of the calling thread, acknowledged or not, is the end of a
/// stream.
ZEL_EXPORT bool isEndOfStream();

/// Returns whether the newest error of the calling thread, acknowledged or not, says that a stream
/// which is not blocking has nothing to give, or took nothing, yet.
ZEL_EXPORT bool wouldBlock();

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_POSIXERROR_H
