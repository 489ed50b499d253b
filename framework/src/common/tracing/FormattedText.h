// SPDX-License-Identifier: Apache-2.0
//
// A short printf-style text on the stack.

#ifndef ZELCOMMON_SRC_COMMON_TRACING_FORMATTEDTEXT_H
#define ZELCOMMON_SRC_COMMON_TRACING_FORMATTEDTEXT_H

#include <cstdarg>
#include <cstdio>

#include <zel/attributes.h>

namespace tracing {

/// At most 511 characters; what goes beyond is cut. Empty if the formatting fails.
class FormattedText
{
public:
    ZEL_PRINTF_FORMAT(2, 0)
    FormattedText(const char* format, va_list values)
    {
        if (std::vsnprintf(m_text, sizeof m_text, format, values) < 0) m_text[0] = '\0';
        m_text[LIMIT] = '\0';
    }

    char* text() { return m_text; }

private:
    static constexpr unsigned int LIMIT = 511;
    char m_text[LIMIT + 1]; // limit + terminator
};

} // namespace tracing

#endif // ZELCOMMON_SRC_COMMON_TRACING_FORMATTEDTEXT_H
