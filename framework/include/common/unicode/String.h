// SPDX-License-Identifier: Apache-2.0
//
// std::unicode::String is an immutable text: a codec, a shared block of encoded bytes and the
// number of characters. Copies and substrings share the bytes. Comparison and search work on code
// points, so texts of different encodings go together; the left operand decides the encoding of a
// result.
//
//     for (const std::unicode::String& field : line.split(";"))
//         if (field.find("temp") != field.end()) use(field.toUtf8());

#ifndef ZELCOMMON_COMMON_UNICODE_STRING_H
#define ZELCOMMON_COMMON_UNICODE_STRING_H

#include <cstddef>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>

#include <common/buffers.h>
#include <common/unicode/Codec.h>
#include <zel/attributes.h>

namespace std::unicode {

/// A text. Characters are code points; bytes that cannot be decoded count as characters U+FFFD.
///
/// Constructors from narrow text take it as UTF-8, those from wide text as UCS-4; those that take
/// no codec copy the bytes unchecked. Terminated texts must not be null. No limit but 32 bits: a
/// text whose bytes leave them, or for which there is no memory, ends the process by a memory
/// fault.
///
/// Any number of threads may use texts that share bytes; one object is not assigned while another
/// thread uses it.
class String
{
public:
    struct Iterator;
    class Spliterator;
    class Pieces;

    /// The empty text, in UTF-8 or in the encoding of `codec`.
    /// @{
    ZEL_EXPORT String();
    ZEL_EXPORT explicit String(const Codec& codec);
    /// @}

    /// The character `c`, in UCS-4.
    ZEL_EXPORT explicit String(unsigned int c);
    /// A copy of the text: narrow ones are taken as UTF-8, wide ones as UCS-4, neither is checked.
    /// Terminated ones must not be null.
    /// @{
    ZEL_EXPORT String(const char* text);
    ZEL_EXPORT String(const std::string& text);
    ZEL_EXPORT String(const wchar_t* text);
    ZEL_EXPORT String(const std::wstring& text);
    /// @}
    /// The bytes of `buffer`, which are shared, in the encoding of `codec`. The null buffer is the
    /// empty text.
    ZEL_EXPORT String(const SharedBuf& buffer, const Codec& codec);

    /// `c`, or the text, converted to `codec`, also from the same encoding.
    /// @{
    ZEL_EXPORT String(const Codec& codec, unsigned int c);
    ZEL_EXPORT String(const Codec& codec, const char* text);
    ZEL_EXPORT String(const Codec& codec, const std::string& text);
    ZEL_EXPORT String(const Codec& codec, const wchar_t* text);
    /// @}
    /// Kept: takes only the first quarter of the characters.
    ZEL_EXPORT String(const Codec& codec, const std::wstring& text);
    /// The text converted to `codec`; shared if it is in that encoding.
    /// @{
    ZEL_EXPORT String(const Codec& codec, const SharedBuf& buffer, const Codec& from);
    ZEL_EXPORT String(const Codec& codec, const String& text);
    /// @}

    /// Share the bytes of `other`.
    /// @{
    String(const String& other) noexcept = default;
    String& operator=(const String& other) noexcept
    {
        if (this == &other) return *this;
        m_codec = other.m_codec;
        m_buffer = other.m_buffer;
        m_count = other.m_count;
        return *this;
    }
    /// @}
    /// Take the bytes of `other` along, which is empty then.
    /// @{
    String(String&& other) noexcept
        : m_codec(other.m_codec), m_buffer(static_cast<SharedBuf&&>(other.m_buffer)),
          m_count(other.m_count)
    {
        other.m_count = 0;
    }
    String& operator=(String&& other) noexcept
    {
        if (this == &other) return *this;
        m_codec = other.m_codec;
        m_buffer = static_cast<SharedBuf&&>(other.m_buffer);
        m_count = other.m_count;
        other.m_count = 0;
        return *this;
    }
    /// @}
    ~String() { m_buffer.unref(); }

    /// Returns a copy of the UTF-8 bytes of `text`.
    ZEL_EXPORT static String fromUtf8(std::string_view text);

    /// Returns the number of characters.
    unsigned int size() const { return m_count; }
    /// Returns whether `size()` is 0.
    bool empty() const { return m_count == 0; }
    /// Returns the encoding of the bytes; it is compared by address.
    const Codec& codec() const { return *m_codec; }
    /// Returns the block with the encoded bytes, which a copy of it shares.
    const SharedBuf& buffer() const { return m_buffer; }
    /// Returns the address of the encoded bytes; null if the text was made from the null buffer or
    /// has been moved from.
    const unsigned char* data() const { return m_buffer.payload(); }
    /// Returns the number of encoded bytes, `data()[0..byteLength())`, which are not terminated.
    unsigned int byteLength() const { return m_buffer.length(); }

    /// Return the positions of the first character and behind the last one. They are of use while
    /// this text lives and keeps its value.
    /// @{
    inline Iterator begin() const;
    inline Iterator end() const;
    /// @}

    /// Returns the characters as UTF-8, encoded anew: what cannot be decoded comes out as U+FFFD.
    /// Without memory the text is empty.
    ZEL_EXPORT std::string toUtf8() const;
    /// Returns the characters as wide ones. Without memory the text is empty.
    ZEL_EXPORT std::wstring toWide() const;

    /// Returns the number of characters, counted anew. A text made by `+` or `*` may have others
    /// than `size()` tells, where the end of one part and the beginning of the next decode
    /// together.
    ZEL_EXPORT unsigned int count() const;

    /// Returns character number `i`. Direct in UCS-4, a walk from the beginning otherwise.
    /// Asserts that `i` is less than `size()` ("i<size()"), then returns U+FFFD.
    ZEL_EXPORT unsigned int at(unsigned int i) const;

    /// Compare code point by code point. Nothing is normalised or folded.
    /// @{
    ZEL_EXPORT bool operator==(const String& other) const;
    ZEL_EXPORT bool operator<(const String& other) const;
    ZEL_EXPORT bool operator>(const String& other) const;
    bool operator!=(const String& other) const { return !(*this == other); }
    bool operator<=(const String& other) const { return !(*this > other); }
    bool operator>=(const String& other) const { return !(*this < other); }
    /// @}

    /// Returns a hash of the code points: equal texts have equal ones, whatever their encodings.
    ZEL_EXPORT std::size_t hash() const;

    /// @name Searches
    /// They return a position in this text, its end if there is none, and allocate nothing. A
    /// position in a text that does not share these bytes is a caller's mistake, unless said
    /// otherwise.
    /// @{

    /// Returns the first position from `from` on where `needle` begins. A position in another text
    /// counts by its number of characters. An empty needle is found at `from`, unless that is the
    /// end.
    ZEL_EXPORT Iterator find(const String& needle, const Iterator& from) const;
    /// As above, from the beginning.
    inline Iterator find(const String& needle) const;

    /// Returns the last position up to and including `before` where `needle` begins. An empty
    /// needle is found at every position but the end.
    /// Asserts that `before` is in this text
    /// ("before.string==this"), then goes on.
    ZEL_EXPORT Iterator rfind(const String& needle, const Iterator& before) const;
    /// As above, in the whole text.
    inline Iterator rfind(const String& needle) const;

    /// Returns the first position from `from` on whose character is in `set`.
    /// Asserts that `from` is in this text ("from.string==this"), then goes on in the text of
    /// `from`: what is found is a position there, and this text's end if nothing is.
    ZEL_EXPORT Iterator find_first_of(const String& set, const Iterator& from) const;
    /// As above, from the beginning.
    inline Iterator find_first_of(const String& set) const;
    /// As `find_first_of`, for a character that is not in `set`.
    ZEL_EXPORT Iterator find_first_not_of(const String& set, const Iterator& from) const;
    /// As above, from the beginning.
    inline Iterator find_first_not_of(const String& set) const;

    /// Returns the last position before `before`, and never that one, whose character is in `set`.
    /// Asserts that `before` is in this text ("before.string==this"), then goes on.
    ZEL_EXPORT Iterator find_last_of(const String& set, const Iterator& before) const;
    /// As above, in the whole text.
    inline Iterator find_last_of(const String& set) const;
    /// As `find_last_of`, for a character that is not in `set`.
    ZEL_EXPORT Iterator find_last_not_of(const String& set, const Iterator& before) const;
    /// As above, in the whole text.
    inline Iterator find_last_not_of(const String& set) const;
    /// @}

    /// Returns the text from `from` to `to`, which shares the bytes. An empty text in UTF-8 if they
    /// do not belong to this text or a copy of it, or if `to` is not behind `from`.
    ZEL_EXPORT String substr(const Iterator& from, const Iterator& to) const;
    /// As above, by numbers of characters; negative ones count from the end. `to` is an end, not a
    /// length.
    ZEL_EXPORT String substr(int from, int to) const;

    /// Returns this text followed by `other`, in the encoding of this one.
    ZEL_EXPORT String operator+(const String& other) const;
    /// Returns this text `n` times.
    ZEL_EXPORT String operator*(unsigned int n) const;

    /// Returns this text with `with` in place of each occurrence of `what`, from the left, in
    /// UTF-8. An empty `what` puts it between every two characters.
    ZEL_EXPORT String replace(const String& what, const String& with) const;

    /// Returns the pieces between the occurrences of `separator`, from the left. An empty separator
    /// gives each character; a text in which it does not occur is one piece.
    inline Pieces split(const String& separator) const;

    /// Returns the texts of [first, last) with this one between every two of them, always in UTF-8.
    /// Forward iterators are walked twice, to measure first; others once.
    template <typename PieceIterator>
    String join(PieceIterator first, PieceIterator last) const;

private:
    class Joiner;
    template <typename Type, typename = void>
    struct IsForward : false_type
    {};

    /// Takes the reference of `buffer` over.
    String(const Codec& codec, SharedBuf&& buffer, unsigned int count) noexcept
        : m_codec(&codec), m_buffer(static_cast<SharedBuf&&>(buffer)), m_count(count)
    {}
    /// As above, and counts.
    ZEL_LOCAL String(const Codec& codec, SharedBuf&& buffer);

    const Codec* m_codec;
    SharedBuf m_buffer;
    unsigned int m_count;
};

} // namespace std::unicode

#include <common/unicode/StringIterator.h>
#include <common/unicode/StringJoiner.h>
#include <common/unicode/StringPieces.h>

namespace std::unicode {

inline String::Iterator String::begin() const
{
    return {this, {}};
}

inline String::Iterator String::end() const
{
    return {this, {m_count, byteLength()}};
}

inline String::Iterator String::find(const String& needle) const
{
    return find(needle, begin());
}

inline String::Iterator String::rfind(const String& needle) const
{
    return rfind(needle, end());
}

inline String::Iterator String::find_first_of(const String& set) const
{
    return find_first_of(set, begin());
}

inline String::Iterator String::find_first_not_of(const String& set) const
{
    return find_first_not_of(set, begin());
}

inline String::Iterator String::find_last_of(const String& set) const
{
    return find_last_of(set, end());
}

inline String::Iterator String::find_last_not_of(const String& set) const
{
    return find_last_not_of(set, end());
}

} // namespace std::unicode

/// Agrees with `==`: equal texts of different encodings have equal hashes.
template <>
struct std::hash<std::unicode::String>
{
    /// Returns `text.hash()`.
    std::size_t operator()(const std::unicode::String& text) const { return text.hash(); }
};

#endif // ZELCOMMON_COMMON_UNICODE_STRING_H
