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

/// What a call of the operating system failed with.
/// 0: "%s failed: %s (errno %d)", the call, the system's text and the value
/// 1: "%s would block", the call; it is worth trying again later
ZEL_EXPORT extern std::ErrorType PosixError;

/// Returns whether the newest error of the calling thread, acknowledged or not, is the end of a
/// stream.
ZEL_EXPORT bool isEndOfStream();

/// Returns whether the newest error of the calling thread, acknowledged or not, says that a stream
/// which is not blocking has nothing to give, or took nothing, yet.
ZEL_EXPORT bool wouldBlock();

} // namespace zel

#endif // ZELPOSIX_ZELPOSIX_POSIXERROR_H
