// SPDX-License-Identifier: Apache-2.0
//
// A position that walks one text for the algorithms, with the encoding known at compile time. It
// moves and ends as `String::Iterator` does; the two change together.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_CURSOR_H
#define ZELCOMMON_SRC_COMMON_UNICODE_CURSOR_H

#include <algorithm>
#include <climits>

#include <common/unicode/String.h>

#include "Conversion.h"
#include "Encoding.h"

namespace textcore {

template <typename Encoding>
class Cursor
{
public:
    Cursor(const Encoding& encoding, const std::unicode::String& text,
           const Codec::Index& position = {})
        : m_encoding(encoding), m_data(text.data()), m_size(text.byteLength()),
          m_count(text.size()), m_position(position)
    {}

    /// Takes character number `chars` for the end, if the text has that many.
    void endBefore(unsigned int chars) { m_count = std::min(m_count, chars); }

    const Codec::Index& position() const { return m_position; }

    bool atEnd() const { return m_position.chars == m_count || m_position.bytes >= m_size; }

    unsigned int operator*() const { return m_encoding.read(m_data, m_size, m_position); }

    /// Moves on; stays at the end. Where nothing can be decoded any more, moves to the end.
    void operator++()
    {
        if (atEnd()) return;
        unsigned int last = 0;
        if (!step(last)) m_position = {m_count, m_size};
    }

    /// Returns the bytes from here on.
    Bytes rest() const
    {
        const unsigned int passed = std::min(m_position.bytes, m_size);
        return {m_data + passed, m_size - passed};
    }

    /// Moves over a character of two to four bytes that has all of them, if `passes` holds of it.
    /// Returns whether it has moved.
    template <typename Passes>
    bool passWhole(const Passes& passes)
    {
        if (atEnd()) return false;
        unsigned int c = 0;
        const unsigned int length =
            Utf8Decoder::wholeLength(m_data + m_position.bytes, m_size - m_position.bytes, c);
        if (length == 0 || !passes(withoutSurrogate(c))) return false;
        m_position.bytes += length;
        ++m_position.chars;
        return true;
    }

    /// Returns what is ahead: as many bytes as there are characters, if there are more bytes.
    /// Requires a position that is not behind the last byte.
    Bytes ahead() const
    {
        return {m_data + m_position.bytes,
                std::min(m_size - m_position.bytes, m_count - m_position.chars)};
    }

    /// Moves over characters that are there.
    void pass(unsigned int bytes, unsigned int chars)
    {
        m_position.bytes += bytes;
        m_position.chars += chars;
    }

    /// Moves over characters of one byte each, up to the next byte at which `stops` holds, and over
    /// `limit` of them at most.
    void passUntil(const bool (&stops)[256], unsigned int limit = UINT_MAX)
    {
        if (atEnd() || stops[m_data[m_position.bytes]]) return;
        const unsigned char* const from = m_data + m_position.bytes;
        const unsigned int most =
            std::min({m_size - m_position.bytes, m_count - m_position.chars, limit});
        unsigned int passed = 0;
        while (passed < most && !stops[from[passed]])
            ++passed;
        m_position.bytes += passed;
        m_position.chars += passed;
    }

    /// Moves over one character and stores it in `c`. Returns false, and may leave `c`, where
    /// nothing can be decoded any more.
    bool step(unsigned int& c)
    {
        const unsigned int before = m_position.bytes;
        m_encoding.step(m_data, m_size, m_position, c);
        return m_position.bytes != before;
    }

private:
    Encoding m_encoding;
    const unsigned char* m_data;
    unsigned int m_size;
    unsigned int m_count;
    Codec::Index m_position;
};

/// Returns the position one character behind `at`.
inline Codec::Index next(const std::unicode::String& text, const Codec::Index& at)
{
    Cursor cursor(AnyEncoding(text.codec()), text, at);
    ++cursor;
    return cursor.position();
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_CURSOR_H
