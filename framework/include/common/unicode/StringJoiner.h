// SPDX-License-Identifier: Apache-2.0
//
// How texts are joined: a part of common/unicode/String.h.

#include <common/unicode/String.h> // which includes this header where it needs it

#ifndef ZELCOMMON_COMMON_UNICODE_STRINGJOINER_H
#define ZELCOMMON_COMMON_UNICODE_STRINGJOINER_H

#include <iterator>
#include <type_traits>

#include <common/buffers.h>
#include <zel/attributes.h>

namespace std::unicode {

/// @cond private

/// Puts texts into one block, which is allocated once if all of them are measured first, in the
/// same order, and grows otherwise.
class String::Joiner
{
public:
    /// `glue` goes between every two texts and must outlive this object.
    ZEL_EXPORT explicit Joiner(const String& glue);
    ZEL_EXPORT ~Joiner();
    Joiner(const Joiner&) = delete;
    Joiner& operator=(const Joiner&) = delete;

    void measure(const String& piece)
    {
        if (m_hasMeasured) m_needed += m_glueBytes;
        m_needed += &piece.codec() == &UTF8 ? piece.byteLength() : bytesInUtf8(piece);
        m_hasMeasured = true;
    }
    void append(const String& piece)
    {
        if (m_block.data == nullptr)
            begin();
        else
            add(m_glue);
        add(piece);
    }
    /// Requires that all pieces have been appended.
    ZEL_EXPORT String finish();

private:
    void add(const String& text)
    {
        const unsigned int size = text.byteLength();
        if (&text.codec() != &UTF8 || size > m_room) return addAny(text);
        if (size > 0) __builtin_memcpy(m_to, text.data(), size);
        m_to += size;
        m_room -= size;
        m_count += text.size();
    }
    ZEL_EXPORT static unsigned long long bytesInUtf8(const String& text);
    ZEL_EXPORT void begin();
    ZEL_EXPORT void addAny(const String& text);
    ZEL_LOCAL void reserve(unsigned long long bytes);
    ZEL_LOCAL void use(SharedBuf&& block, unsigned int filled);

    const String& m_glue;
    const unsigned long long m_glueBytes;
    SharedBuf m_block;
    unsigned long long m_needed = 0;
    /// Where the next text goes, and how many bytes have room there.
    unsigned char* m_to = nullptr;
    unsigned int m_room = 0;
    unsigned int m_count = 0;
    bool m_hasMeasured = false;
};

template <typename Type>
struct String::IsForward<Type, void_t<typename iterator_traits<Type>::iterator_category>>
    : is_base_of<forward_iterator_tag, typename iterator_traits<Type>::iterator_category>
{};

/// @endcond

template <typename PieceIterator>
String String::join(PieceIterator first, PieceIterator last) const
{
    Joiner joiner(*this);
    if constexpr (IsForward<PieceIterator>::value)
        for (PieceIterator piece = first; piece != last; ++piece)
            joiner.measure(*piece);
    for (; first != last; ++first)
        joiner.append(*first);
    return joiner.finish();
}

} // namespace std::unicode

#endif // ZELCOMMON_COMMON_UNICODE_STRINGJOINER_H
