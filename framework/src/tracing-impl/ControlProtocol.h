// SPDX-License-Identifier: Apache-2.0
//
// The requests of the control socket, each a line, and what they are answered: lines of which the
// last is "ok" or "error" with a reason.
//
//     list              ID OWN-LEVEL LEVEL PATH, a line for each channel
//     set PATH LEVEL    changes the level of a channel and of what is below it
//     call NAME BYTES   calls back; the bytes in hexadecimal digits, "-" for none
//     watch             messages from now on, a line for each, until the tool hangs up

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_CONTROLPROTOCOL_H
#define TRACINGIMPL_SRC_TRACINGIMPL_CONTROLPROTOCOL_H

#include <cstddef>
#include <string>
#include <string_view>

#include "RemoteTarget.h"

namespace tracing {
namespace impl {

/// Bytes of a request, its end of line not counted.
constexpr std::size_t MAX_REQUEST = 1024;

constexpr std::string_view WATCH_REQUEST = "watch";
constexpr std::string_view ANSWER_OK = "ok\n";
constexpr std::string_view ANSWER_TOO_LONG = "error the request is too long\n";
constexpr std::string_view ANSWER_CUT_OFF = "error the request has no end\n";
constexpr std::string_view ANSWER_BEHIND_WATCH = "error there are no requests behind watch\n";

/// Returns the answer to `request`, any bytes without the end of line; "watch" is not for this one.
std::string answerTo(std::string_view request, RemoteTarget& target);

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_CONTROLPROTOCOL_H
