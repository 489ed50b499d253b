// SPDX-License-Identifier: Apache-2.0
//
// How the parts of an error are shown: shared by the reports, the dumps and the reason list.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_ERRORTEXT_H
#define ZELCOMMON_SRC_COMMON_ERROR_ERRORTEXT_H

#include <pthread.h>
#include <string_view>

#include <common/error/ErrorObject.h>

namespace errorcore {

/// Returns the part of a path from its first directory "src" or "include" on: the text behind the
/// first "/" or "\" that is followed by "src/", "src\", "include/" or "include\". Returns `path` as
/// it is if there is none, and if it is null or empty. A path that begins with "src/" has no
/// separator before it, so a later directory is what counts.
const char* shortSourcePath(const char* path);

/// Returns the reason of `error` up to its terminator, and never beyond the error's own buffer,
/// which a copied reason may fill to the last byte. Returns a view of null for a null reason.
std::string_view reasonOf(const std::ErrorObject& error);

/// Returns the first 256 characters of the reason of `error`, which is what a copy takes; "" for a
/// null reason. Never reads beyond them, wherever the reason is.
std::string_view reasonToCopy(const std::ErrorObject& error);

/// Returns `text`, or "(null)" if it is null.
const char* printable(const char* text);
std::string_view printable(std::string_view text);

/// The value of a thread id that reports print, with its sign: whole where the id is wider than
/// int.
long threadNumber(pthread_t thread);

} // namespace errorcore

#endif // ZELCOMMON_SRC_COMMON_ERROR_ERRORTEXT_H
