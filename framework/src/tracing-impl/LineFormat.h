// SPDX-License-Identifier: Apache-2.0
//
// A message as a text: what stands in a line for people.
//
//     2026-11-21 12:00:00.123456 warning net_tcp [4711 receiver] peer 7 has gone

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_LINEFORMAT_H
#define TRACINGIMPL_SRC_TRACINGIMPL_LINEFORMAT_H

#include <string>

#include "Message.h"
#include "TimeZones.h"

namespace tracing {
namespace impl {

/// Bytes of a raw message that are shown.
constexpr std::size_t MAX_SHOWN_BYTES = 64;

/// Returns the name of a level; a number for one that is none.
std::string levelName(short level);

/// Append the parts of a line. None of them has an end of line in it.
void appendTime(std::string& out, const Message& message, const TimeZones& zones);
void appendThread(std::string& out, const Message& message);
/// The payload: the text, the bytes in hexadecimal digits with their type, or, if it is obfuscated,
/// how many bytes it has. The caller's time stamp stands before it.
void appendBody(std::string& out, const Message& message);

/// Appends what stands behind the level: path, thread and body.
void appendRest(std::string& out, const Message& message);

/// Returns the whole line, with its end.
std::string lineOf(const Message& message, const TimeZones& zones);
/// Returns it with the level in the colour that a terminal shows it in.
std::string colouredLineOf(const Message& message, const TimeZones& zones);

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_LINEFORMAT_H
