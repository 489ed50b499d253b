// SPDX-License-Identifier: Apache-2.0
//
// The local time of a message. The system's own conversion holds a lock that a forked child may
// find taken for ever, so it is asked for the offset alone, now and then, and never in a child.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_LOCALTIME_H
#define TRACINGIMPL_SRC_TRACINGIMPL_LOCALTIME_H

#include <ctime>
#include <string>

namespace tracing {
namespace impl {

/// Returns the local time of `now` as seconds since 1970. Any thread.
long long localSeconds(std::time_t now);

/// Has the offset asked for anew, for when the environment has changed. To be called once before a
/// child is forked off.
void forgetLocalOffset();

/// Append "2000-01-31" and "23:59:59" for such seconds.
void appendDate(std::string& out, long long seconds);
void appendClock(std::string& out, long long seconds);

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_LOCALTIME_H
