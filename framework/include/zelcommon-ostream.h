// SPDX-License-Identifier: Apache-2.0
//
// Printing of the library's values on standard streams. Apart from the other headers, which do
// without `<ostream>`. Width, fill and alignment are honoured; the width of a text counts its
// bytes.
//
//     std::cout << std::setw(40) << std::left << id << std::endl;

#ifndef ZELCOMMON_ZELCOMMON_OSTREAM_H
#define ZELCOMMON_ZELCOMMON_OSTREAM_H

#include <ostream>
#include <string_view>

#include <common/UUID.h>
#include <common/unicode/String.h>
#include <zelbase/time.h>

namespace std {

/// Prints the text form.
inline ostream& operator<<(ostream& out, const UUID& id)
{
    char text[UUID::TEXT_LENGTH];
    id.toChars(text);
    return out << string_view(text, UUID::TEXT_LENGTH);
}

namespace unicode {

/// Prints the characters as UTF-8. Throws `bad_alloc` without memory for them.
inline ostream& operator<<(ostream& out, const String& text)
{
    return out << text.toUtf8();
}

} // namespace unicode

} // namespace std

namespace zelbase {

/// Prints the milliseconds, as the stream prints numbers.
inline std::ostream& operator<<(std::ostream& out, const TimePoint& point)
{
    return out << point.milliseconds();
}

/// Prints the milliseconds, as the stream prints numbers.
inline std::ostream& operator<<(std::ostream& out, const Duration& span)
{
    return out << span.milliseconds();
}

} // namespace zelbase

#endif // ZELCOMMON_ZELCOMMON_OSTREAM_H
