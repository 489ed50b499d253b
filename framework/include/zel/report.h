// SPDX-License-Identifier: Apache-2.0
//
// Macros that pass the file, line and function of their place to the raising call and to the
// reports. Each is an expression of type void, each argument is evaluated at most once.
//
//     if (width > MAX_WIDTH) { ZEL_RAISE(std::CommonError, 2, 0, MAX_WIDTH, width); return false; }
//     ZEL_ASSERT_MSG(height > 0, "height %d of %s", height, name);

#ifndef ZELCOMMON_ZEL_REPORT_H
#define ZELCOMMON_ZEL_REPORT_H

#include <common/error/Error.h>
#include <common/error/GlobalErrorHandler.h>

/// ZEL_RAISE(type, id, values...): raises error `id` of `type` as the start of a new chain.
#define ZEL_RAISE(...) ::std::ErrorOutput(__FILE__, __LINE__, true)(__VA_ARGS__)

/// ZEL_RAISE_ON(type, id, values...): raises error `id` of `type` on top of the current chain, with
/// the pending error as its cause.
#define ZEL_RAISE_ON(...) ::std::ErrorOutput(__FILE__, __LINE__, false)(__VA_ARGS__)

/// ZEL_ASSERT(condition): reports a failed assertion if `condition` is false, and goes on. Commas
/// inside the condition are its own; a message is what ZEL_ASSERT_MSG takes.
#define ZEL_ASSERT(...)                                                                            \
    (bool(__VA_ARGS__) ? static_cast<void>(0)                                                      \
                       : ::std::GlobalErrorHandler::doAssert(false, #__VA_ARGS__, __FILE__,        \
                                                             __LINE__, __func__, nullptr))

/// ZEL_ASSERT_MSG(condition, format, values...): as ZEL_ASSERT, with a reason. The values are
/// evaluated only if the assertion fails.
#define ZEL_ASSERT_MSG(condition, ...)                                                             \
    ((condition) ? static_cast<void>(0)                                                            \
                 : ::std::GlobalErrorHandler::doAssert(false, #condition, __FILE__, __LINE__,      \
                                                       __func__, __VA_ARGS__))

/// ZEL_WARN(format, values...): reports a warning.
#define ZEL_WARN(...)                                                                              \
    ::std::GlobalErrorHandler::doWarning(__FILE__, __LINE__, __func__, __VA_ARGS__)

/// ZEL_ABORT(format, values...): reports a fatal condition and ends the process, unless
/// `GlobalErrorHandler::s_disable_abort` is set.
#define ZEL_ABORT(...) ::std::GlobalErrorHandler::doAbort(__FILE__, __LINE__, __func__, __VA_ARGS__)

/// ZEL_OUT_OF_MEMORY(format, values...): reports exhausted memory. Ends the process unless a
/// handler has dealt with it or `GlobalErrorHandler::s_disable_abort` is set; then the caller may
/// retry.
#define ZEL_OUT_OF_MEMORY(...)                                                                     \
    ::std::GlobalErrorHandler::doOutOfMem(__FILE__, __LINE__, __func__, __VA_ARGS__)

#endif // ZELCOMMON_ZEL_REPORT_H
