// SPDX-License-Identifier: Apache-2.0
//
// The library's values as arguments of {fmt}, written for its versions 8 to 10 and tested with 9.
// Apart from the other headers, which do without that library. Texts take what a text takes between
// the braces, points and spans of time what a number takes: width, fill and alignment are honoured.
//
//     fmt::print("{:>40} after {} ms\n", id, zelbase::TimePoint::now() - start);

#ifndef ZELCOMMON_ZELCOMMON_FMT_H
#define ZELCOMMON_ZELCOMMON_FMT_H

#include <cstdint>

#include <fmt/format.h>

#include <zel/formatting.h>

namespace fmt {

/// The text form. Allocates nothing of its own.
template <>
struct formatter<std::UUID> : zel::TextFormatter<formatter<string_view>, std::UUID>
{};

/// The characters as UTF-8; what cannot be decoded comes out as U+FFFD. Without memory for them the
/// text is empty.
template <>
struct formatter<std::unicode::String>
    : zel::TextFormatter<formatter<string_view>, std::unicode::String>
{};

/// Id, reason and place as the reason list has them, in three lines, without the causes. Throws
/// `bad_alloc` without memory for them.
template <>
struct formatter<std::ErrorObject> : zel::TextFormatter<formatter<string_view>, std::ErrorObject>
{};

/// The milliseconds.
template <>
struct formatter<zelbase::TimePoint>
    : zel::MillisecondsFormatter<formatter<std::uint64_t>, zelbase::TimePoint>
{};

/// The milliseconds.
template <>
struct formatter<zelbase::Duration>
    : zel::MillisecondsFormatter<formatter<std::int64_t>, zelbase::Duration>
{};

} // namespace fmt

#endif // ZELCOMMON_ZELCOMMON_FMT_H
