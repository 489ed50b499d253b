// SPDX-License-Identifier: Apache-2.0
//
// Bytes from anywhere as a text that stays on its line and that no terminal takes for a command.

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_PRINTABLE_H
#define TRACINGIMPL_SRC_TRACINGIMPL_PRINTABLE_H

#include <string>
#include <string_view>

namespace tracing {
namespace impl {

/// Appends `text` to `out`. Tabs and what is not ASCII stay; control characters, and bytes that are
/// some outside of UTF-8, become "\n", "\r" or "\x1b" written out.
void appendPrintable(std::string& out, std::string_view text);

/// Returns `text` like that.
std::string printable(std::string_view text);

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_PRINTABLE_H
