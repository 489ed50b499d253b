// SPDX-License-Identifier: Apache-2.0
//
// One trace message on its way from the logging call to the sinks.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_MESSAGE_H
#define TRACINGIMPL_SRC_TRACINGIMPL_MESSAGE_H

#include <cstdint>
#include <ctime>
#include <string_view>

#include <sys/types.h>

namespace tracing {
namespace impl {

/// What a sink is given. All texts belong to the caller and are valid during the call.
struct Message
{
    /// The channel's path, as `net_tcp`.
    std::string_view path;
    /// `LevelTRACE` to `LevelFATAL`.
    short level;
    short modifiers;
    /// Whether the payload is bytes of `messageType`, not a text.
    bool isRaw;
    short messageType;
    /// The text, or the bytes; it may hold anything.
    std::string_view payload;
    /// When the message was logged, by the system's clock.
    timespec time;
    /// The caller's own time stamp, if `hasStamp`.
    bool hasStamp;
    long long stamp;
    /// The kernel's id of the logging thread, and the name that it was registered under, or "".
    pid_t threadId;
    std::string_view threadName;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_MESSAGE_H
