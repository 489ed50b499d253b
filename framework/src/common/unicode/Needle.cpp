// SPDX-License-Identifier: Apache-2.0

#include "Needle.h"

#include "Cursor.h"
#include "StringBytes.h"
#include "Utf8Search.h"

namespace textcore {

using std::unicode::String;

Needle::Needle(const String& text) : m_text(text)
{
    const Cursor first(AnyEncoding(text.codec()), text);
    if (kindOf(text.codec()) == Kind::OTHER || first.atEnd()) return;
    m_first = *first;
    m_hasFirst = true;
    if (kindOf(text.codec()) != Kind::UTF8)
        encode();
    else if (canonicalCount(bytesOf(text)) == text.size())
        m_bytes = bytesOf(text);
}

/// Fills the room with the text, unless it is too small, or a character has no form in UTF-8.
void Needle::encode()
{
    Codec::Index at;
    for (Cursor cursor(AnyEncoding(m_text.codec()), m_text); !cursor.atEnd(); ++cursor)
        if (Utf8Encoder::write(m_room, sizeof m_room, at, *cursor) == 0) return;
    if (at.chars == m_text.size()) m_bytes = {m_room, at.bytes};
}

Codec::Index Needle::firstIn(const String& text, const Codec::Index& from) const
{
    const bool isInside = from.chars <= text.size() && from.bytes <= text.byteLength();
    if (m_bytes.size == 0 || kindOf(text.codec()) != Kind::UTF8 || !isInside)
        return decodedIn(text, from);
    const ByteSearch search = findBytes(bytesOf(text), from, m_bytes);
    if (!search.isCertain) return decodedIn(text, from);
    // A text may have fewer characters than its bytes.
    const unsigned long long end = 0ULL + search.at.chars + m_text.size();
    return search.isHit && end <= text.size() ? search.at : text.end().position;
}

template <typename Text>
bool beginsWith(Cursor<Text> at, Cursor<AnyEncoding> needle)
{
    for (; !needle.atEnd(); ++needle, ++at) {
        if (at.atEnd()) return false;
        if (*needle != *at) return false;
    }
    return true;
}

Codec::Index Needle::decodedIn(const String& text, const Codec::Index& from) const
{
    // A caller's codec is asked for each character each time.
    const bool looksFirst = m_hasFirst && kindOf(text.codec()) != Kind::OTHER;
    const Cursor needle(AnyEncoding(m_text.codec()), m_text);
    return withUtf8OrAny(text.codec(), [&](const auto& encoding) {
        Cursor at(encoding, text, from);
        while (!at.atEnd() && !((!looksFirst || *at == m_first) && beginsWith(at, needle)))
            ++at;
        return at.atEnd() ? text.end().position : at.position();
    });
}

} // namespace textcore
