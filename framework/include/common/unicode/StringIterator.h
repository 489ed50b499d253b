// SPDX-License-Identifier: Apache-2.0
//
// The positions in a text: a part of common/unicode/String.h.

#include <common/unicode/String.h> // which includes this header where it needs it

#ifndef ZELCOMMON_COMMON_UNICODE_STRINGITERATOR_H
#define ZELCOMMON_COMMON_UNICODE_STRINGITERATOR_H

#include <cstddef>
#include <iterator>

#include <common/unicode/Codec.h>

namespace std::unicode {

/// A position in one text. A forward iterator over its characters, which are values, not
/// references.
struct String::Iterator
{
    /// What the standard's algorithms ask an iterator for; its elements are code points.
    /// @{
    using iterator_category = forward_iterator_tag;
    using value_type = unsigned int;
    using difference_type = ptrdiff_t;
    using pointer = void;
    using reference = unsigned int;
    /// @}

    /// Returns the code point; U+FFFD at the end and without a text.
    unsigned int operator*() const
    {
        if (string == nullptr) return REPLACEMENT_CHAR;
        return string->codec().read(string->data(), string->byteLength(), position);
    }

    /// Moves over one character; stays at the end. Where bytes are left that are none, moves to the
    /// end. The library's own walks do the same.
    /// @{
    Iterator& operator++()
    {
        if (atEnd()) return *this;
        const unsigned int before = position.bytes;
        unsigned int last = 0;
        string->codec().read_forward(string->data(), string->byteLength(), position, 1, last);
        if (position.bytes == before) position = {string->size(), string->byteLength()};
        return *this;
    }
    Iterator operator++(int)
    {
        const Iterator before = *this;
        ++*this;
        return before;
    }
    /// @}

    /// Returns whether no character is left; true without a text.
    bool atEnd() const
    {
        return string == nullptr || position.chars == string->size() ||
               position.bytes >= string->byteLength();
    }

    /// Positions of texts that do not share bytes are neither equal nor ordered.
    /// @{
    bool operator==(const Iterator& other) const
    {
        if (!sharesBytes(other)) return false;
        if (position.chars == other.position.chars) return true;
        return isSameText(other) && atEnd() && other.atEnd();
    }
    bool operator!=(const Iterator& other) const { return !(*this == other); }
    bool operator<(const Iterator& other) const
    {
        return sharesBytes(other) && !(*this == other) &&
               static_cast<int>(position.chars - other.position.chars) < 0;
    }
    /// @}

    /// The text, not owned; null for none.
    const String* string = nullptr;
    /// The place in its bytes.
    Codec::Index position = {};

private:
    bool sharesBytes(const Iterator& other) const
    {
        if (string == nullptr || other.string == nullptr) return string == other.string;
        return string->data() == other.string->data();
    }
    bool isSameText(const Iterator& other) const
    {
        return string == other.string || string->byteLength() == other.string->byteLength();
    }
};

} // namespace std::unicode

#endif // ZELCOMMON_COMMON_UNICODE_STRINGITERATOR_H
