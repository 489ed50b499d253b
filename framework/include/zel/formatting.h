// SPDX-License-Identifier: Apache-2.0
//
// What <zelcommon-fmt.h> and <zelcommon-format.h> have in common: the library's values in terms of
// the texts and numbers that either library can format. Programs include one of those two.

#ifndef ZELCOMMON_ZEL_FORMATTING_H
#define ZELCOMMON_ZEL_FORMATTING_H

#include <array>
#include <string>

#include <common/UUID.h>
#include <common/error/ErrorObject.h>
#include <common/unicode/String.h>
#include <zel/errorText.h>
#include <zelbase/time.h>

namespace zel {

/// Returns the text form. Allocates nothing.
inline std::array<char, std::UUID::TEXT_LENGTH> formattedText(const std::UUID& id)
{
    std::array<char, std::UUID::TEXT_LENGTH> text;
    id.toChars(text.data());
    return text;
}

/// Returns the characters as UTF-8; what cannot be decoded comes out as U+FFFD. Without memory the
/// text is empty.
inline std::string formattedText(const std::unicode::String& text)
{
    return text.toUtf8();
}

/// As `errorText`.
inline std::string formattedText(const std::ErrorObject& error)
{
    return errorText(error);
}

/// Formats a value as its text. `Formatter` is a library's own for a view of a text; it reads
/// width, fill, alignment and precision.
template <typename Formatter, typename Value>
struct TextFormatter : Formatter
{
    /// Writes the text of `value` to the output of `context`. Returns the place behind it.
    template <typename Context>
    auto format(const Value& value, Context& context) const
    {
        const auto text = formattedText(value);
        return Formatter::format({text.data(), text.size()}, context);
    }
};

/// Formats a point or a span of time as the number of its milliseconds. `Formatter` is a library's
/// own for that number.
template <typename Formatter, typename Value>
struct MillisecondsFormatter : Formatter
{
    /// Writes the number of `value` to the output of `context`. Returns the place behind it.
    template <typename Context>
    auto format(const Value& value, Context& context) const
    {
        return Formatter::format(value.milliseconds(), context);
    }
};

} // namespace zel

#endif // ZELCOMMON_ZEL_FORMATTING_H
