// SPDX-License-Identifier: Apache-2.0
//
// At which characters a search for those of a set, or for others, stops.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_CHARACTERFILTER_H
#define ZELCOMMON_SRC_COMMON_UNICODE_CHARACTERFILTER_H

#include <common/unicode/String.h>

#include "Cursor.h"
#include "MemberScan.h"

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
        m_scans = m_wantsMember && m_scan.isWhole();
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

    /// How far a search decodes before it scans: farther each time that scanning brought little.
    struct Pace
    {
        unsigned int bytes = DECODED_BYTES;
    };

    /// Moves over characters at which it does not stop, as far as these are well-formed.
    template <typename Encoding>
    void pass(Cursor<Encoding>&, Pace&) const
    {}
    void pass(Cursor<Utf8Encoding>& at, Pace& pace) const
    {
        if (MemberScan::IS_WORTH_IT && m_scans) {
            scan(at, pace);
            return;
        }
        do
            at.passUntil(m_stops);
        while (passWhole(at));
    }

private:
    static constexpr unsigned int BYTES = 256;
    static constexpr unsigned int ASCII_END = 0x80;
    static constexpr unsigned int ROOM = 32;
    static constexpr unsigned int PAYING_BYTES = 256;
    static constexpr unsigned int SLOWEST_PACE = 2048;

    /// As `pass`. Not in line: it is in the way of searches that do not scan.
    __attribute__((noinline)) void scan(Cursor<Utf8Encoding>& at, Pace& pace) const
    {
        while (passDecoded(at, pace.bytes)) {
            const Run run = m_scan.pass(at.ahead());
            at.pass(run.bytes, run.chars);
            const bool isLittle = run.bytes < PAYING_BYTES;
            pace.bytes = isLittle ? std::min(2 * pace.bytes, SLOWEST_PACE) : DECODED_BYTES;
        }
    }

    /// Moves over so many bytes, or a few more. Returns false where it stops.
    bool passDecoded(Cursor<Utf8Encoding>& at, unsigned int bytes) const
    {
        const unsigned int begin = at.position().bytes;
        do {
            at.passUntil(m_stops, bytes);
            if (at.position().bytes - begin >= bytes) return true;
        } while (passWhole(at));
        return false;
    }

    bool passWhole(Cursor<Utf8Encoding>& at) const
    {
        return at.passWhole([this](unsigned int c) { return !stopsAt(c); });
    }

    void add(unsigned int c)
    {
        m_scan.add(c);
        if (c < ASCII_END)
            m_stops[c] = m_wantsMember;
        else if (m_size < ROOM)
            m_others[m_size++] = c;
        else
            m_isWhole = false;
    }

    const bool m_wantsMember;
    bool m_isWhole;
    bool m_scans;
    /// By the first byte in UTF-8: what is not ASCII has to be decoded.
    bool m_stops[BYTES];
    unsigned int m_others[ROOM];
    unsigned int m_size = 0;
    MemberScan m_scan;
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_CHARACTERFILTER_H
