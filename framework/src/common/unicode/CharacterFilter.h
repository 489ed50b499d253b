// SPDX-License-Identifier: Apache-2.0
//
// At which characters a search for those of a set, or for others, stops.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_CHARACTERFILTER_H
#define ZELCOMMON_SRC_COMMON_UNICODE_CHARACTERFILTER_H

#include <common/unicode/String.h>

#include "Cursor.h"

namespace textcore {

/// What a search looks for.
enum class Wanted {
    MEMBER,   ///< characters of the set
    STRANGER, ///< others
};

class CharacterFilter
{
public:
    CharacterFilter(const std::unicode::String& set, Wanted wanted)
        : m_wantsMember(wanted == Wanted::MEMBER)
    {
        // A caller's codec is asked for each character each time.
        m_isWhole = kindOf(set.codec()) != Kind::OTHER;
        for (unsigned int byte = 0; byte < BYTES; ++byte)
            m_stops[byte] = byte >= ASCII_END || !m_wantsMember;
        for (Cursor at(AnyEncoding(set.codec()), set); m_isWhole && !at.atEnd(); ++at)
            add(*at);
    }

    /// Returns whether the whole set has found room here. If not, it has to be asked itself.
    bool isWhole() const { return m_isWhole; }

    bool stopsAt(unsigned int c) const
    {
        if (c < ASCII_END) return m_stops[c];
        for (unsigned int i = 0; i < m_size; ++i)
            if (m_others[i] == c) return m_wantsMember;
        return !m_wantsMember;
    }

    /// Moves over characters at which it does not stop, as far as these are well-formed.
    template <typename Encoding>
    void pass(Cursor<Encoding>&) const
    {}
    void pass(Cursor<Utf8Encoding>& at) const
    {
        do
            at.passUntil(m_stops);
        while (at.passWhole([this](unsigned int c) { return !stopsAt(c); }));
    }

private:
    static constexpr unsigned int BYTES = 256;
    static constexpr unsigned int ASCII_END = 0x80;
    static constexpr unsigned int ROOM = 32;

    void add(unsigned int c)
    {
        if (c < ASCII_END)
            m_stops[c] = m_wantsMember;
        else if (m_size < ROOM)
            m_others[m_size++] = c;
        else
            m_isWhole = false;
    }

    const bool m_wantsMember;
    bool m_isWhole;
    /// By the first byte in UTF-8: what is not ASCII has to be decoded.
    bool m_stops[BYTES];
    unsigned int m_others[ROOM];
    unsigned int m_size = 0;
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_CHARACTERFILTER_H
