// SPDX-License-Identifier: Apache-2.0
//
// The library's values as arguments of std::format, where the compiler's library has it; empty
// where not. Texts take what a text takes between the braces, points and spans of time what a
// number takes: width, fill and alignment are honoured.
//
//     log(std::format("{:>40} after {} ms", id, zelbase::TimePoint::now() - start));

#ifndef ZELCOMMON_ZELCOMMON_FORMAT_H
#define ZELCOMMON_ZELCOMMON_FORMAT_H

#if __has_include(<version>)
#include <version>
#endif

#ifdef __cpp_lib_format

#include <cstdint>
#include <format>
#include <string_view>

#include <zel/formatting.h>

/// The text form. Allocates nothing of its own.
template <>
struct std::formatter<std::UUID> : zel::TextFormatter<std::formatter<std::string_view>, std::UUID>
{};

/// The characters as UTF-8; what cannot be decoded comes out as U+FFFD. Without memory for them the
/// text is empty.
template <>
struct std::formatter<std::unicode::String>
    : zel::TextFormatter<std::formatter<std::string_view>, std::unicode::String>
{};

/// Id, reason and place as the reason list has them, in three lines, without the causes. Throws
/// `bad_alloc` without memory for them.
template <>
struct std::formatter<std::ErrorObject>
    : zel::TextFormatter<std::formatter<std::string_view>, std::ErrorObject>
{};

/// The milliseconds.
template <>
struct std::formatter<zelbase::TimePoint>
    : zel::MillisecondsFormatter<std::formatter<std::uint64_t>, zelbase::TimePoint>
{};

/// The milliseconds.
template <>
struct std::formatter<zelbase::Duration>
    : zel::MillisecondsFormatter<std::formatter<std::int64_t>, zelbase::Duration>
{};

#endif // __cpp_lib_format

#endif // ZELCOMMON_ZELCOMMON_FORMAT_H
