// SPDX-License-Identifier: Apache-2.0
//
// The walk over the pieces of a text: a part of common/unicode/String.h.

#include <common/unicode/String.h> // which includes this header where it needs it

#ifndef ZELCOMMON_COMMON_UNICODE_STRINGPIECES_H
#define ZELCOMMON_COMMON_UNICODE_STRINGPIECES_H

#include <cstddef>
#include <iterator>

namespace std::unicode {

/// Walks the pieces of a text between separators. A forward iterator; the pieces are values.
class String::Spliterator
{
public:
    /// What the standard's algorithms ask an iterator for; its elements are texts.
    /// @{
    using iterator_category = forward_iterator_tag;
    using value_type = String;
    using difference_type = ptrdiff_t;
    using pointer = void;
    using reference = String;
    /// @}

    /// The end of every walk.
    ZEL_EXPORT Spliterator();
    /// The first piece of `text`. Shares the bytes of both, which may be temporary.
    ZEL_EXPORT Spliterator(const String& text, const String& separator);
    /// A walk of its own from the same piece on.
    /// @{
    ZEL_EXPORT Spliterator(const Spliterator& other);
    ZEL_EXPORT Spliterator& operator=(const Spliterator& other);
    /// @}
    ~Spliterator() = default;

    /// Returns the piece, which shares the bytes of the text. An empty one is in UTF-8.
    String operator*() const { return m_text.substr(m_begin, m_end); }

    /// Moves to the next piece; stays at the end.
    /// @{
    ZEL_EXPORT Spliterator& operator++();
    Spliterator operator++(int)
    {
        Spliterator before(*this);
        ++*this;
        return before;
    }
    /// @}

    /// Walks are equal at the same piece of shared bytes, and when both are over.
    /// @{
    ZEL_EXPORT bool operator==(const Spliterator& other) const;
    bool operator!=(const Spliterator& other) const { return !(*this == other); }
    /// @}

private:
    ZEL_LOCAL void findEnd();
    ZEL_LOCAL void skipSeparator();

    String m_text;
    String m_separator;
    // Positions in m_text.
    Iterator m_begin;
    Iterator m_end;
    bool m_isDone;
};

/// The pieces of a text, for range-for and the standard algorithms.
class String::Pieces
{
public:
    /// As `String::split`. Shares the bytes of both.
    Pieces(const String& text, const String& separator) : m_text(text), m_separator(separator) {}

    /// Return the walk at the first piece and the end of every walk.
    /// @{
    Spliterator begin() const { return Spliterator(m_text, m_separator); }
    Spliterator end() const { return Spliterator(); }
    /// @}

private:
    String m_text;
    String m_separator;
};

inline String::Pieces String::split(const String& separator) const
{
    return Pieces(*this, separator);
}

} // namespace std::unicode

#endif // ZELCOMMON_COMMON_UNICODE_STRINGPIECES_H
