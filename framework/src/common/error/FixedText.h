// SPDX-License-Identifier: Apache-2.0
//
// Text built on the stack, so that a report does not need memory that may be exhausted.

#ifndef ZELCOMMON_SRC_COMMON_ERROR_FIXEDTEXT_H
#define ZELCOMMON_SRC_COMMON_ERROR_FIXEDTEXT_H

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>

namespace errorcore {

/// Decimal form of an int, whatever the locale.
class Decimal
{
public:
    explicit Decimal(int value) : m_end(std::to_chars(m_text, m_text + sizeof m_text, value).ptr) {}

    const char* text() const { return m_text; }
    std::size_t length() const { return static_cast<std::size_t>(m_end - m_text); }

private:
    /// sign + digits; `digits10` counts only the digits that every value fills
    char m_text[1 + std::numeric_limits<int>::digits10 + 1];
    const char* m_end;
};

/// A terminated text of at most `LIMIT` characters. What goes beyond is cut. As with an output
/// stream, a null text puts it into a failed state in which everything further is dropped.
template <std::size_t LIMIT>
class FixedText
{
public:
    FixedText() { m_text[0] = '\0'; }

    FixedText& append(const char* text)
    {
        if (m_failed || text == nullptr) {
            m_failed = true;
            return *this;
        }
        return append(text, std::strlen(text));
    }

    FixedText& append(int number)
    {
        const Decimal decimal(number);
        return m_failed ? *this : append(decimal.text(), decimal.length());
    }

    const char* text() const { return m_text; }

private:
    FixedText& append(const char* text, std::size_t length)
    {
        const std::size_t fitting = std::min(length, LIMIT - m_length);
        std::memcpy(m_text + m_length, text, fitting);
        m_length += fitting;
        m_text[m_length] = '\0';
        return *this;
    }

    char m_text[LIMIT + 1]; // limit + terminator
    std::size_t m_length = 0;
    bool m_failed = false;
};

} // namespace errorcore

#endif // ZELCOMMON_SRC_COMMON_ERROR_FIXEDTEXT_H
