// SPDX-License-Identifier: Apache-2.0
//
// The macro that application code logs with: a message that its channel suppresses costs one
// comparison, and none of its values is evaluated.
//
//     ZEL_LOG(channel, tracing::Levels::LevelDEBUG, "%zu entries after %s", entries(), describe());

#ifndef ZELCOMMON_COMMON_TRACING_LOG_H
#define ZELCOMMON_COMMON_TRACING_LOG_H

#include <common/tracing/Channel.h>
#include <common/tracing/Levels.h>

/// ZEL_LOG(channel, level, format, values...): one statement that logs a printf-style text on
/// `channel`, an lvalue of type `tracing::Channel`, if `level` passes its filter. `channel` and
/// `level` are evaluated once, the others once or, if the message is suppressed, not at all.
#define ZEL_LOG(channel, level, ...)                                                               \
    do {                                                                                           \
        ::tracing::Channel& zelLogChannel = (channel);                                             \
        const short zelLogLevel = (level);                                                         \
        if (__builtin_expect(zelLogChannel.passes(zelLogLevel), 0))                                \
            zelLogChannel.logCV(zelLogLevel, __VA_ARGS__);                                         \
    } while (false)

#endif // ZELCOMMON_COMMON_TRACING_LOG_H
